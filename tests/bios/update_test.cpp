// SPDX-License-Identifier: Apache-2.0
#include "../support/library_test.hpp"
#include "../support/systemd_manager.hpp"

// UpdateBIOS: as UpdateBMC, with a template, a word and a log of its own.

using namespace test;
using testing::ElementsAre;
using wexa::core::VersionPurpose;

namespace
{

std::string unitOf(const std::string& convertedPath)
{
    return R"(obmc-flash-host-bios@bios_rot2\x20update\x20)" + convertedPath +
           ".service";
}

class UpdateBios : public LibraryTest
{
  protected:
    void systemdAnswers(Reply reply)
    {
        offer(systemd_manager::service,
              {systemd_manager::startUnit(std::move(reply))});
    }

    int update(const std::string& imagePath)
    {
        return manager.UpdateBIOS(imagePath, VersionPurpose::Host, "");
    }
};

TEST_F(UpdateBios, StartsTheFlashUnitOfTheImage)
{
    const auto unit =
        R"(obmc-flash-host-bios@bios_rot2\x20update\x20-tmp-images-bios.bin.service)";
    systemdAnswers(systemd_manager::accepts());

    EXPECT_EQ(update("/tmp/images/bios.bin"), 0);

    EXPECT_THAT(events(),
                ElementsAre(out("flashWriteBios: /tmp/images/bios.bin"),
                            "call: StartUnit"));
    EXPECT_THAT(sent(), ElementsAre(systemd_manager::call(unit)));
    EXPECT_EQ(rememberedUnit(), unit);
}

TEST_F(UpdateBios, NamesTheUnitAfterThePath)
{
    systemdAnswers(systemd_manager::accepts());

    for (const auto& [path, converted] :
         std::map<std::string, std::string>{{"", ""},
                                            {"image", "image"},
                                            {"//tmp//a-b/", "--tmp--a-b-"},
                                            {"/{} @%i", "-{} @%i"}})
    {
        EXPECT_EQ(update(path), 0);
        EXPECT_THAT(events(), ElementsAre(out("flashWriteBios: " + path),
                                          "call: StartUnit"));
        EXPECT_THAT(sent(),
                    ElementsAre(systemd_manager::call(unitOf(converted))));
    }
}

TEST_F(UpdateBios, IgnoresPurposeAndThirdArgument)
{
    systemdAnswers(systemd_manager::accepts());

    for (const auto purpose :
         {VersionPurpose::BMC, static_cast<VersionPurpose>(77)})
    {
        EXPECT_EQ(manager.UpdateBIOS("/tmp/image", purpose, "MB_CPLD"), 0);
        EXPECT_THAT(sent(),
                    ElementsAre(systemd_manager::call(unitOf("-tmp-image"))));
    }
}

TEST_F(UpdateBios, TakesTheRememberedUnitOverFromAnotherKind)
{
    systemdAnswers(systemd_manager::accepts());
    manager.UpdateBMC("/tmp/bmc", VersionPurpose::BMC, "");
    update("/tmp/bios");

    const auto bios = unitOf("-tmp-bios");
    const std::string bmc =
        R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20-tmp-bmc.service)";
    auto ofBmc = jobRemoved(1, bmc, "done");
    EXPECT_EQ(manager.onBMCStateChange(ofBmc), 0);
    for (const auto handle :
         {&wexa::core::FWManagerInternal::onBMCStateChange,
          &wexa::core::FWManagerInternal::onBIOSStateChange,
          &wexa::core::FWManagerInternal::onCPLDStateChange})
    {
        auto done = jobRemoved(2, bios, "done");
        auto failed = jobRemoved(2, bios, "failed");
        EXPECT_EQ((manager.*handle)(done), 1);
        EXPECT_EQ((manager.*handle)(failed), 2);
    }
}

TEST_F(UpdateBios, KeepsTheRememberedUnitWhereTheCallCannotBeCreated)
{
    systemdAnswers(systemd_manager::accepts());
    update("/tmp/first");
    events();

    connection = unconnected();
    EXPECT_EQ(thrownText<sdbusplus::exception::SdBusError>(
                  [this] { update("/tmp/second"); }),
              creationFailure);

    EXPECT_THAT(events(), ElementsAre(out("flashWriteBios: /tmp/second")));
    EXPECT_EQ(rememberedUnit(), unitOf("-tmp-first"));
}

} // namespace
