// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/temporary_directory.hpp"
#include "platform.hpp"
#include "site_words.hpp"

// A text that is not UTF-8 cannot be sent over D-Bus. As the only argument it
// costs the connection: the library logs the failure, and no later call can be
// made. Of two arguments the other is sent alone, which systemd refuses.

using namespace test;

namespace
{

const std::string bad = "/tmp/\xff";

struct BadText
{
    std::string name;
    std::string site;
    std::function<std::string(Manager&)> operation;

    /** What is logged up to the failure, whose text then fills "{}". */
    Events events;
};

void PrintTo(const BadText& row, std::ostream* stream)
{
    *stream << row.name;
}

class TextThatIsNotUtf8 :
    public Platform,
    public testing::WithParamInterface<BadText>
{};

TEST_P(TextThatIsNotUtf8, CostsTheConnection)
{
    const auto& row = GetParam();
    const auto& site = siteNamed(row.site);
    startHealthy(site);

    EXPECT_EQ(row.operation(manager), "-5");

    EXPECT_EQ(events(),
              row.events +
                  Events{filled(site.failure.events.front(),
                                "sd_bus_call: org.freedesktop.DBus.Error."
                                "Disconnected: Connection reset by peer")});
    EXPECT_FALSE(isConnected());
}

INSTANTIATE_TEST_SUITE_P(
    Argument, TextThatIsNotUtf8,
    testing::Values(
        BadText{"OfABmcImageToVerify",
                "VerifyBMC",
                [](Manager& manager) {
                    return asText(
                        manager.VerifyBMC(bad, VersionPurpose::BMC, ""));
                },
                {signature("VerifyBMC"), out("verify image: " + bad)}},
        BadText{"OfABiosImageToVerify",
                "VerifyBIOS",
                [](Manager& manager) {
                    return asText(
                        manager.VerifyBIOS(bad, VersionPurpose::Host, ""));
                },
                {signature("VerifyBIOS"), out("verify image: " + bad)}},
        BadText{"OfACapsuleToVerify",
                "VerifyCapsule",
                [](Manager& manager) {
                    return asText(
                        manager.VerifyCapsule(bad, VersionPurpose::Host, ""));
                },
                {signature("VerifyCapsule"), out("verify image: " + bad)}},
        BadText{"OfACpldImageToVerify",
                "VerifyCpldAskingTheDevice",
                [](Manager& manager) {
                    return asText(
                        manager.VerifyCPLD(bad, VersionPurpose::Host, "MB"));
                },
                {signature("VerifyCPLD"), out("Verify MB, image: " + bad),
                 "call: bindedDevices", out("verify image: " + bad)}}),
    [](const auto& row) { return row.param.name; });

struct BadUnit
{
    std::string name;
    std::string site;
    std::function<std::string(Manager&)> operation;
    Events events;
    std::string remembered;
};

void PrintTo(const BadUnit& row, std::ostream* stream)
{
    *stream << row.name;
}

class UnitThatIsNotUtf8 :
    public Platform,
    public testing::WithParamInterface<BadUnit>
{};

TEST_P(UnitThatIsNotUtf8, IsLeftOutOfTheCallThatSystemdThenRefuses)
{
    const auto& row = GetParam();
    const auto& site = siteNamed(row.site);
    startAnswering(site, reply::error("org.freedesktop.DBus.Error.InvalidArgs",
                                      "expecting 'ss'"));

    EXPECT_EQ(row.operation(manager), "-5");

    EXPECT_EQ(
        events(),
        (row.events + Events{"call: StartUnit",
                             filled(site.failure.events.front(),
                                    "sd_bus_call: org.freedesktop.DBus.Error."
                                    "InvalidArgs: expecting 'ss'")}));
    EXPECT_EQ(sent(),
              Events{"org.freedesktop.systemd1 /org/freedesktop/systemd1 "
                     "org.freedesktop.systemd1.Manager.StartUnit(s) "
                     "\"replace\""});
    EXPECT_TRUE(isConnected());
    EXPECT_EQ(rememberedUnit(), row.remembered);
}

INSTANTIATE_TEST_SUITE_P(
    Argument, UnitThatIsNotUtf8,
    testing::Values(
        BadUnit{"OfABmcImage",
                "UpdateBmc",
                [](Manager& manager) {
                    return asText(
                        manager.UpdateBMC(bad, VersionPurpose::BMC, ""));
                },
                {out("flashWrite bmc-rot2 start."), out("image_path: " + bad),
                 out("bmcServiceFile: "
                     "obmc-flash-bmc-rot2@bmc_rot2\\x20update\\x20-tmp-\xff"
                     ".service")},
                "obmc-flash-bmc-rot2@bmc_rot2\\x20update\\x20-tmp-\xff"
                ".service"},
        BadUnit{"OfABiosImage",
                "UpdateBios",
                [](Manager& manager) {
                    return asText(
                        manager.UpdateBIOS(bad, VersionPurpose::Host, ""));
                },
                {out("flashWriteBios: " + bad)},
                "obmc-flash-host-bios@bios_rot2\\x20update\\x20-tmp-\xff"
                ".service"},
        BadUnit{"OfACpldImage",
                "UpdateCpld",
                [](Manager& manager) {
                    return asText(
                        manager.UpdateCPLD(bad, VersionPurpose::Host, "MB"));
                },
                {signature("UpdateCPLD"), out("flashWrite cpld-rot2 start."),
                 out("compoment: MB, image_path: " + bad)},
                "obmc-flash-bmc-rot2@cpld_rot2\\x20update\\x20MB\\x20-tmp-"
                "\xff.service"},
        BadUnit{"OfACpld",
                "UpdateCpld",
                [](Manager& manager) {
                    return asText(manager.UpdateCPLD(
                        "/tmp/image", VersionPurpose::Host, "\xff"));
                },
                {signature("UpdateCPLD"), out("flashWrite cpld-rot2 start."),
                 out("compoment: \xff, image_path: /tmp/image")},
                "obmc-flash-bmc-rot2@cpld_rot2\\x20update\\x20\xff\\x20"
                "-tmp-image.service"}),
    [](const auto& row) { return row.param.name; });

class FileNameThatIsNotUtf8 : public Platform
{
  protected:
    /** Makes such a file, and has it described from its path or from that of
     *  its directory.
     */
    void describe(const std::string& given)
    {
        const auto& site = siteNamed("DescribeCpldImageAskingTheDevice");
        startHealthy(site);
        const auto image = directory.file("image_cpld_signed\xff");
        writeBytes(image, "image");

        EXPECT_EQ(asText(manager.getCPLDImageFileInfo("MB", given)), "{}");

        EXPECT_EQ(events(),
                  (Events{"call: bindedDevices",
                          err("ERROR !! Failed to prepare CPLD image file "
                              "info: (xyz.openbmc_project.CpldUpdateMgrSvc, "
                              "/xyz/openbmc_project/cpld_update_mgr/mb, "
                              "xyz.openbmc_project.cpld_update_mgr.CpldDevice, "
                              "image file: " +
                              image +
                              "): sd_bus_call: org.freedesktop.DBus.Error."
                              "Disconnected: Connection reset by peer")}));
        EXPECT_FALSE(isConnected());
    }

    TemporaryDirectory directory;
};

TEST_F(FileNameThatIsNotUtf8, CostsTheConnection)
{
    describe(directory.file("image_cpld_signed\xff"));
}

TEST_F(FileNameThatIsNotUtf8, CostsTheConnectionFromADirectoryToo)
{
    describe(directory.path());
}

} // namespace
