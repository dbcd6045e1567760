// SPDX-License-Identifier: Apache-2.0
#include "../support/systemd_manager.hpp"
#include "cpld_test.hpp"

// UpdateCPLD: the flash unit of the BMC's template, the component in its
// name, and systemd's answer read as a boolean.

using namespace test;
using testing::ElementsAre;
using wexa::core::VersionPurpose;

namespace
{

std::string unitOf(const std::string& component, const std::string& path)
{
    return R"(obmc-flash-bmc-rot2@cpld_rot2\x20update\x20)" + component +
           R"(\x20)" + path + ".service";
}

class UpdateCpld : public CpldTest
{
  protected:
    void systemdAnswers(Reply reply)
    {
        offer(systemd_manager::service,
              {systemd_manager::startUnit(std::move(reply))});
    }

    int update(const std::string& path,
               const std::string& component = "MB_CPLD")
    {
        return manager.UpdateCPLD(path, VersionPurpose::Other, component);
    }

    /** What is said before the answer. */
    static std::vector<std::string> begin(const std::string& path,
                                          const std::string& component)
    {
        return {out("int wexa::core::FWManagerInternal::UpdateCPLD("
                    "std::string, wexa::core::VersionPurpose, std::string)"),
                out("flashWrite cpld-rot2 start."),
                out("compoment: " + component + ", image_path: " + path)};
    }

    static std::vector<std::string> whole(std::vector<std::string> lines,
                                          const std::string& last)
    {
        lines.push_back("call: StartUnit");
        lines.push_back(last);
        return lines;
    }
};

TEST_F(UpdateCpld, ReadsSystemdsAnswerAsABoolean)
{
    const auto unit =
        R"(obmc-flash-bmc-rot2@cpld_rot2\x20update\x20MB_CPLD\x20-tmp-images-cpld.bin.service)";
    const std::string path = "/tmp/images/cpld.bin";

    systemdAnswers(reply::boolean(true));
    EXPECT_EQ(update(path), 0);
    EXPECT_EQ(events(), whole(begin(path, "MB_CPLD"), out("Verify OK")));
    EXPECT_THAT(sent(), ElementsAre(systemd_manager::call(unit)));
    EXPECT_EQ(rememberedUnit(), unit);

    systemdAnswers(reply::booleanAndText(true, "more"));
    EXPECT_EQ(update(path), 0);
    events();

    systemdAnswers(reply::boolean(false));
    EXPECT_EQ(update(path), -1);
    EXPECT_EQ(events(), whole(begin(path, "MB_CPLD"), out("Verify false")));
}

TEST_F(UpdateCpld, TakesARealSystemdsAnswerForAFailureAndRemembersTheUnit)
{
    systemdAnswers(systemd_manager::accepts());

    EXPECT_EQ(update("/a/b"), -5);

    EXPECT_EQ(events(),
              whole(begin("/a/b", "MB_CPLD"),
                    err("Error in trying to upgrade cpld_rot2: "
                        "sd_bus_message_read_basic bool: System.Error.ENXIO: "
                        "No such device or address")));
    EXPECT_EQ(rememberedUnit(), unitOf("MB_CPLD", "-a-b"));
    auto job = jobRemoved(7, unitOf("MB_CPLD", "-a-b"), "done");
    EXPECT_EQ(manager.onCPLDStateChange(job), 1);
}

TEST_F(UpdateCpld, PutsTheComponentIntoTheNameAsItIs)
{
    systemdAnswers(reply::boolean(true));
    for (const auto* component : {"", "a/b c", "{}", "x\\y"})
    {
        EXPECT_EQ(update("image", component), 0);
        EXPECT_EQ(events(), whole(begin("image", component), out("Verify OK")));
        EXPECT_THAT(sent(), ElementsAre(systemd_manager::call(
                                unitOf(component, "image"))));
    }
    EXPECT_EQ(unitOf("", "-a-b"),
              R"(obmc-flash-bmc-rot2@cpld_rot2\x20update\x20\x20-a-b.service)");
}

TEST_F(UpdateCpld, IgnoresThePurpose)
{
    systemdAnswers(reply::boolean(true));
    EXPECT_EQ(manager.UpdateCPLD("/a", static_cast<VersionPurpose>(77), "c"),
              0);
}

TEST_F(UpdateCpld, KeepsTheRememberedUnitWhereTheCallCannotBeCreated)
{
    systemdAnswers(reply::boolean(true));
    update("/first");
    events();

    connection = unconnected();
    EXPECT_EQ(thrownText<sdbusplus::exception::SdBusError>(
                  [this] { update("/second"); }),
              creationFailure);

    EXPECT_EQ(events(), begin("/second", "MB_CPLD"));
    EXPECT_EQ(rememberedUnit(), unitOf("MB_CPLD", "-first"));
}

} // namespace
