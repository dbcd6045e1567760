// SPDX-License-Identifier: Apache-2.0
#include "../support/disturbed_call.hpp"
#include "cpld_test.hpp"

// VerifyCPLD: the device is looked up, then judges the image itself.

using namespace test;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using wexa::core::VersionPurpose;

namespace
{

class VerifyCpld : public CpldTest
{
  protected:
    void deviceAnswers(Reply reply)
    {
        offerManager(
            {cpld_manager::method(mb, "verifyCPLD", std::move(reply))});
    }

    int verify(const std::string& component = "MB_CPLD",
               const std::string& path = "/tmp/image")
    {
        return manager.VerifyCPLD(path, VersionPurpose::Other, component);
    }

    static std::string asked(const std::string& component = "MB_CPLD")
    {
        return out("Verify " + component + ", image: /tmp/image");
    }

    static std::string registryFailure(const std::string& what)
    {
        return err("ERROR !! Failed to obtain avaialble CPLD devices. "
                   "(xyz.openbmc_project.CpldUpdateMgrSvc,"
                   "/xyz/openbmc_project/cpld_update_mgr,"
                   "xyz.openbmc_project.cpld_update_mgr.CpldUpdateMgrSvc): " +
                   what);
    }

    static std::string deviceFailure(const std::string& what)
    {
        return err("Error in security method call for (" + std::string(mb) +
                   ", xyz.openbmc_project.cpld_update_mgr.CpldDevice: " + what);
    }
};

const auto signature =
    out("int wexa::core::FWManagerInternal::VerifyCPLD(std::string, "
        "wexa::core::VersionPurpose, std::string)");
const auto image = out("verify image: /tmp/image");

TEST_F(VerifyCpld, AcceptsWhatTheDeviceAccepts)
{
    deviceAnswers(reply::boolean(true));

    EXPECT_EQ(verify(), 0);

    EXPECT_THAT(events(),
                ElementsAre(signature, asked(), "call: bindedDevices", image,
                            "call: verifyCPLD", out("Verify OK")));
    EXPECT_THAT(sent(), ElementsAre(cpld_manager::registryCall(),
                                    cpld_manager::call(mb, "verifyCPLD",
                                                       "/tmp/image")));
}

TEST_F(VerifyCpld, RefusesWhatTheDeviceRefuses)
{
    deviceAnswers(reply::boolean(false));

    EXPECT_EQ(verify(), -1);

    EXPECT_THAT(events(),
                ElementsAre(signature, asked(), "call: bindedDevices", image,
                            "call: verifyCPLD", out("Verify failed")));
}

TEST_F(VerifyCpld, AsksNobodyWithoutAComponent)
{
    deviceAnswers(reply::boolean(true));

    EXPECT_EQ(verify(""), -22);

    EXPECT_THAT(events(),
                ElementsAre(signature, asked(""),
                            err("ERROR !! Failed to obtain component name.")));
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(VerifyCpld, FindsTheComponentByItsExactName)
{
    deviceAnswers(reply::boolean(true));
    for (const auto* component : {"mb_cpld", "MB_CPLD ", "MB_CPL", "FAN"})
    {
        EXPECT_EQ(verify(component), -2);
        EXPECT_THAT(events(),
                    ElementsAre(signature, asked(component),
                                "call: bindedDevices",
                                err("ERROR !! Failed to find the target CPLD "
                                    "device: " +
                                    std::string(component))));
        EXPECT_THAT(sent(), ElementsAre(cpld_manager::registryCall()));
    }
}

TEST_F(VerifyCpld, IgnoresThePurpose)
{
    deviceAnswers(reply::boolean(true));
    for (const auto purpose : {VersionPurpose::BMC, VersionPurpose::Unknown,
                               static_cast<VersionPurpose>(7)})
    {
        EXPECT_EQ(manager.VerifyCPLD("/tmp/image", purpose, "MB_CPLD"), 0);
    }
}

TEST_F(VerifyCpld, FailsWhereTheManagerIsAbsent)
{
    EXPECT_EQ(verify(), -5);

    EXPECT_THAT(events(), ElementsAre(signature, asked(),
                                      registryFailure(cpld_manager::absent)));
}

TEST_F(VerifyCpld, FailsWhereTheRegistryIsOfAnotherType)
{
    offerManagerWith(reply::number(2));

    EXPECT_EQ(verify(), -5);

    EXPECT_THAT(events(),
                ElementsAre(signature, asked(), "call: bindedDevices",
                            registryFailure(cpld_manager::notARegistry)));
}

struct BadAnswer
{
    std::string name;
    Reply reply;
    std::string what;
};

class VerifyCpldFails :
    public VerifyCpld,
    public testing::WithParamInterface<BadAnswer>
{};

TEST_P(VerifyCpldFails, WithTheDevicesName)
{
    setTimeout(100ms);
    deviceAnswers(GetParam().reply);

    EXPECT_EQ(verify(), -5);

    EXPECT_THAT(events(), ElementsAre(signature, asked(), "call: bindedDevices",
                                      image, "call: verifyCPLD",
                                      deviceFailure(GetParam().what)));
}

INSTANTIATE_TEST_SUITE_P(
    VerifyCpld, VerifyCpldFails,
    testing::Values(
        BadAnswer{"WhereTheDeviceAnswersAnError",
                  reply::error("xyz.openbmc_project.Error", "JTAG is busy."),
                  "sd_bus_call: xyz.openbmc_project.Error: JTAG is busy."},
        BadAnswer{"WhereTheDeviceNeverAnswers", reply::silence(),
                  "sd_bus_call: org.freedesktop.DBus.Error.Timeout: "
                  "Connection timed out"},
        BadAnswer{"WhereTheAnswerIsNoBoolean", reply::text("true"),
                  "sd_bus_message_read_basic bool: System.Error.ENXIO: No "
                  "such device or address"}),
    [](const auto& row) { return row.param.name; });

TEST_F(VerifyCpld, FailsWhereTheDevicesObjectIsAbsent)
{
    offerManager();

    EXPECT_EQ(verify(), -5);

    EXPECT_THAT(
        events(),
        ElementsAre(signature, asked(), "call: bindedDevices", image,
                    deviceFailure("sd_bus_call: "
                                  "org.freedesktop.DBus.Error.UnknownObject: "
                                  "Unknown object '" +
                                  std::string(mb) + "'.")));
}

TEST_F(VerifyCpld, EndsWhereTheDevicesPathIsEmptyOrMalformed)
{
    for (const auto* path : {"", "no/slash"})
    {
        offerManagerWith(cpld_manager::registry({{"MB_CPLD", path, "d", {}}}));

        EXPECT_EQ(
            thrownText<sdbusplus::exception::SdBusError>([this] { verify(); }),
            "sd_bus_message_new_method_call: "
            "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument");
        EXPECT_THAT(events(),
                    ElementsAre(signature, asked(), "call: bindedDevices"));
    }
}

TEST_F(VerifyCpld, EndsWhereTheRegistrysCallCannotBeCreated)
{
    const RefusedCall refused{"bindedDevices"};

    EXPECT_EQ(
        thrownText<sdbusplus::exception::SdBusError>([this] { verify(); }),
        creationFailure);

    EXPECT_THAT(events(), ElementsAre(signature, asked()));
}

} // namespace
