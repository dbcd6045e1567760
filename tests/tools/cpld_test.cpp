// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "tool_test.hpp"

// What is special to CPLDs: components, images in directories, and a library
// that takes a real systemd's answer for a failure.

using namespace test;
using testing::MatchesRegex;
using testing::StartsWith;

namespace
{

class Cpld : public ToolTest
{
  protected:
    Cpld()
    {
        bmc.set("flash-time", "100");
    }

    Completed run(const std::string& verb, const std::string& component,
                  const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> words{verb, "cpld", image, "--component",
                                       component};
        words.insert(words.end(), more.begin(), more.end());
        return fwmgr(words);
    }

    /** How an update ends after it has begun to wait. */
    Completed ended(int status, const std::string& what,
                    const Reason& reason) const
    {
        return {status, "",
                "flashing " + image + "\n" + failureText(what, reason)};
    }

    std::string unit(const std::string& component) const
    {
        return flashUnit("cpld", image, component);
    }

    std::string runningVersion(const std::string& component) const
    {
        return bmc.state()["services"]["cpld"]["values"][component];
    }

    /** For MB_CPLD. */
    std::string image = images.make(
        "cpld", {"--kind", "cpld", "--version", "7.7", "--board", "1"});
};

TEST_F(Cpld, ComponentsAreListedWithVersionAndProperties)
{
    bmc.set("cpld-bound", "MB_CPLD");
    EXPECT_EQ(fwmgr({"components"}),
              (Completed{0,
                         "MB_CPLD             1.0.3\n"
                         "  deviceId          1\n"
                         "  flashBytes        8388608\n"
                         "  inventory         of type o, which the library "
                         "does not read: it tells 0\n"
                         "  madeAt            1710460800\n"
                         "  removable         false\n"
                         "  supplyVolts       of type d, which the library "
                         "does not read: it tells 0\n"
                         "  tags              of type as, which the library "
                         "does not read: it tells 0\n"
                         "  temperatureLimit  85\n"
                         "  vendor            WEXA\n",
                         ""}));
    EXPECT_EQ(fwmgr({"components", "--json"}), (Completed{0, R"({
  "error": null,
  "exit_status": 0,
  "outcome": "success",
  "result": {
    "components": {
      "MB_CPLD": {
        "properties": {
          "deviceId": 1,
          "flashBytes": 8388608,
          "inventory": 0,
          "madeAt": 1710460800,
          "removable": false,
          "supplyVolts": 0,
          "tags": 0,
          "temperatureLimit": 85,
          "vendor": "WEXA"
        },
        "unread": {
          "inventory": "o",
          "supplyVolts": "d",
          "tags": "as"
        },
        "version": "1.0.3",
        "version_unknown": null
      }
    }
  },
  "verb": "components"
}
)",
                                                          ""}));
}

TEST_F(Cpld, ListOfComponentsMayBeEmpty)
{
    bmc.set("cpld-bound", "");
    EXPECT_EQ(fwmgr({"components"}),
              (Completed{0, "no CPLD component is bound\n", ""}));
    EXPECT_EQ(run("verify", "MB_CPLD"),
              refusal(wrongUsage, "the board has no CPLD component 'MB_CPLD'",
                      "no CPLD component is bound: see what the CPLD update "
                      "manager logged"));
}

TEST_F(Cpld, ImageIsUploadedForItsComponent)
{
    EXPECT_EQ(run("upload", "MB_CPLD"),
              (Completed{0,
                         image + ": accepted as CPLD image, version 7.7, to "
                                 "be shown as Staging_MB_CPLD\n",
                         ""}));
}

TEST_F(Cpld, ImageForAnotherComponentIsRefused)
{
    const auto hint =
        "the image is for another component, was changed, or is signed with a "
        "key that this board does not trust: name its component, get it again, "
        "or check the keys that this board trusts";
    EXPECT_EQ(run("upload", "FAN_CPLD"),
              refusal(imageRefused, image + ": refused",
                      {byCpld,
                       {"Verify failed",
                        "Error !! VerifyCPLD failed. comp: FAN_CPLD, image: " +
                            image},
                       "",
                       hint}));
    EXPECT_EQ(run("verify", "FAN_CPLD"),
              refusal(imageRefused, image + ": not authentic",
                      {byCpld, {"Verify failed"}, "", hint}));
}

/** What a device tells of an image, and what the tool makes of it. */
struct ToldVersion
{
    const char* setting;
    std::vector<std::string> library;
    const char* hint;
};

TEST_F(Cpld, ImageWhoseVersionIsNotToldIsRefused)
{
    const auto noVersion =
        "Error !! Failed to get version string from image file: " + image;
    for (const auto& [setting, library, hint] : {
             ToldVersion{"empty",
                         {"Version string is empty", noVersion},
                         "the device tells an empty version of the image: get "
                         "the image again, or update the CPLD update "
                         "manager"},
             ToldVersion{"missing",
                         {"Failed to get cpld image version string", noVersion},
                         "the device tells no \"versionString\" of the image: "
                         "get the image again, or update the CPLD update "
                         "manager"},
         })
    {
        bmc.set("cpld-version", setting);
        EXPECT_EQ(run("upload", "MB_CPLD"),
                  refusal(imageRefused, image + ": refused",
                          {"reading the version of the CPLD image", library, "",
                           hint}));
    }
}

TEST_F(Cpld, ImageThatTheDeviceCannotReadMayBeOfAnotherKind)
{
    image = images.bmc("1");
    EXPECT_EQ(
        run("upload", "MB_CPLD"),
        refusal(callFailed, image + ": could not be examined",
                {"reading the version of the CPLD image",
                 {"ERROR !! Failed to prepare CPLD image file info: "
                  "(xyz.openbmc_project.CpldUpdateMgrSvc, "
                  "/xyz/openbmc_project/cpld_update_mgr/MB_CPLD, "
                  "xyz.openbmc_project.cpld_update_mgr.CpldDevice, image "
                  "file: " +
                      image +
                      "): sd_bus_call: "
                      "xyz.openbmc_project.cpld_update_mgr.NoImage: " +
                      image + " is no CPLD image",
                  "Failed to get cpld image file info",
                  "Error !! Failed to get version string from image file: " +
                      image},
                 "xyz.openbmc_project.cpld_update_mgr.NoImage",
                 "the device cannot read the image: check that it is a CPLD "
                 "image, then look at what the CPLD update manager logged"}));

    // An error of any service says nothing of the image.
    bmc.set("cpld-device", "error");
    EXPECT_THAT(
        run("upload", "MB_CPLD").err,
        testing::EndsWith("\n  D-Bus:    org.freedesktop.DBus.Error.Failed\n"
                          "  hint:     look at what the service itself "
                          "logged\n"));
}

TEST_F(Cpld, DeviceThatTellsTheVersionInAnotherTypeIsBlamed)
{
    bmc.set("cpld-version", "wrong-type");
    EXPECT_EQ(run("upload", "MB_CPLD"),
              refusal(callFailed, image + ": its version could not be read",
                      {"reading the version of the CPLD image",
                       {},
                       "",
                       "the device of MB_CPLD tells a versionString of type "
                       "'u' (1), where 's' is expected: update the CPLD update "
                       "manager"}));
}

TEST_F(Cpld, ImageInADirectoryIsTakenToTheFinishedFlash)
{
    const auto file = image;
    image = images.folder() + "/dir";
    std::filesystem::create_directory(image);
    std::filesystem::copy(file, image + "/image_cpld_signed.bin");

    EXPECT_EQ(run("upload", "MB_CPLD").status, 0);
    EXPECT_EQ(run("verify", "MB_CPLD"),
              (Completed{0, image + ": authentic CPLD image\n", ""}));
    EXPECT_EQ(runningVersion("MB_CPLD"), "1.0.3");

    const auto updated = run("update", "MB_CPLD");
    EXPECT_EQ(updated.status, 0);
    EXPECT_EQ(updated.err, "flashing " + image + "\n");
    EXPECT_THAT(updated.out,
                MatchesRegex(".*/dir: flashed in [0-9]+\\.[0-9] s\n"));
    EXPECT_TRUE(bmc.flash("cpld-MB_CPLD") == bytesOf(file));
    EXPECT_EQ(runningVersion("MB_CPLD"), "7.7");
}

TEST_F(Cpld, ImageInADirectoryIsUploadedByItsSignedEntryOnly)
{
    const auto directory = images.folder() + "/dir";
    std::filesystem::create_directory(directory);
    std::filesystem::rename(image, directory + "/image.bin");
    image = directory;
    EXPECT_EQ(run("upload", "MB_CPLD"),
              refusal(wrongUsage,
                      image + ": the directory holds no entry whose name "
                              "contains \"image_cpld_signed\"",
                      "name the signed image in it so, or name the image file "
                      "itself"));

    std::filesystem::rename(directory + "/image.bin",
                            directory + "/image_cpld_signed\xff");
    EXPECT_EQ(run("upload", "MB_CPLD"),
              refusal(wrongUsage,
                      image + R"(/image_cpld_signed\xff: is not UTF-8)",
                      "D-Bus carries UTF-8 only: rename the signed image"));
    EXPECT_EQ(bmc.calls("cpld"), Calls());

    std::filesystem::rename(directory + "/image_cpld_signed\xff",
                            directory + "/an_image_cpld_signed.bin");
    EXPECT_EQ(run("upload", "MB_CPLD").status, 0);
}

TEST_F(Cpld, FlashThatFailsIsToldFromOneThatNeverStarted)
{
    bmc.set("flash", "fail");
    const auto instance = "cpld_rot2 update MB_CPLD " + image;
    EXPECT_EQ(
        run("update", "MB_CPLD"),
        ended(flashFailed,
              image + ": the flash failed: its program ended with exit status "
                      "1/FAILURE",
              {"",
               {},
               "",
               "see what the flash program logged, and systemctl --user "
               "status '" +
                   unit("MB_CPLD") + "'",
               "",
               {fromEnvironment("WEXA_BMCSIM") + " write-flash " +
                bmc.directory() + " " + instance},
               {"flash: " + instance +
                ": the write to cpld-MB_CPLD failed when half was written"}}));

    bmc.set("manager", "refuse");
    EXPECT_EQ(run("update", "MB_CPLD"),
              refusal(callFailed, image + ": the flash could not be started",
                      {"starting the flash unit",
                       {"Error in trying to upgrade cpld_rot2: sd_bus_call: "
                        "org.freedesktop.systemd1.UnitMasked: Unit " +
                        unit("MB_CPLD") + " is masked."},
                       "org.freedesktop.systemd1.UnitMasked",
                       "unmask the template of the flash unit; wexa-fwmgr "
                       "doctor shows how"}));
}

TEST_F(Cpld, FlashThatNeverEndsIsLeftWhenTimeIsUp)
{
    bmc.set("flash", "hang");
    EXPECT_EQ(run("update", "MB_CPLD", {"--timeout", "1"}),
              ended(mayStillRun,
                    image + ": may be flashing: it has not ended after 1 s",
                    {"",
                     {},
                     "",
                     "do not cut the power; see systemctl --user status '" +
                         unit("MB_CPLD") + "'"}));
}

TEST_F(Cpld, ComponentThatAUnitNameCannotCarryIsNotFlashed)
{
    for (const auto* component : {"A-B", "A/B", "A B", "%i"})
    {
        EXPECT_EQ(run("update", component),
                  refusal(wrongUsage,
                          "component " + std::string(component) +
                              ": a unit name cannot carry this name",
                          "have the CPLD update manager call it by letters, "
                          "digits, \":\", \"_\", \".\" and \"@\""));
    }
    EXPECT_EQ(bmc.calls("cpld"), Calls());
}

} // namespace
