// SPDX-License-Identifier: Apache-2.0
#include "tool_test.hpp"

// What is special to BIOS images and capsules in `wexa-fwmgr upload bios`.

using namespace test;

namespace
{

class UploadBios : public ToolTest
{
  protected:
    /** For board 1, which the simulated BMC is from the start. */
    std::string image(const std::string& board = "1") const
    {
        return images.make("image", {"--kind", "bios", "--version", "1.4b",
                                     "--board", board, "--force"});
    }

    static Reason mismatch(const std::string& boards)
    {
        return {"comparing the image's board with this one",
                {"boardID is mismatch"},
                "",
                "use the image that is made for this board (" + boards + ")"};
    }

    std::string value(const std::string& service, const std::string& name) const
    {
        return bmc.state()["services"][service]["values"][name];
    }
};

TEST_F(UploadBios, ShowsVersionAndApplyTimeOfAnImage)
{
    bmc.set("apply-time", "OnReset");
    EXPECT_EQ(fwmgr({"upload", "bios", image()}),
              (Completed{0,
                         image() + ": accepted as BIOS image, version 1.4b, "
                                   "recorded as staged, apply time OnReset\n",
                         ""}));
    EXPECT_EQ(value("fwinfo", "stagingBIOS"), "BIOS Date: 01/01/2024 Ver 1.4b");
}

TEST_F(UploadBios, ShowsVersionAndApplyTimeOfACapsule)
{
    const auto capsule =
        images.make("capsule", {"--kind", "capsule", "--version", "1.7",
                                "--capsule-kind", "3"});
    EXPECT_EQ(fwmgr({"upload", "bios", capsule}),
              (Completed{0,
                         capsule + ": accepted as BIOS capsule, version 1.7, "
                                   "recorded as staged, apply time "
                                   "Immediate\n",
                         ""}));
    EXPECT_EQ(value("fwinfo", "stagingCapsuleMCU"), "1.7");
}

TEST_F(UploadBios, SaysWhyTheApplyTimeIsNotKnown)
{
    const auto acceptedThough = [&](const std::string& why) {
        return Completed{0,
                         image() +
                             ": accepted as BIOS image, version 1.4b, "
                             "recorded as staged, apply time unknown: "
                             "xyz.openbmc_project.Settings " +
                             why + "\n",
                         ""};
    };
    bmc.set("apply-time", "Sometime");
    EXPECT_EQ(fwmgr({"upload", "bios", image()}),
              acceptedThough(
                  "tells a RequestedApplyTime that the library does not know: "
                  "\"xyz.openbmc_project.Software.ApplyTime."
                  "RequestedApplyTimes.Sometime\""));
    bmc.set("settings", "wrong-type");
    EXPECT_EQ(fwmgr({"upload", "bios", image()}),
              acceptedThough("tells a RequestedApplyTime of type 'u' (0), "
                             "where 's' is expected"));
    bmc.set("settings", "absent");
    EXPECT_EQ(fwmgr({"upload", "bios", image()}),
              acceptedThough(std::string("does not tell it (") +
                             serviceUnknown + ")"));
}

TEST_F(UploadBios, TellsProgramsWhyTheApplyTimeIsNotKnown)
{
    const auto why = [&] {
        return nlohmann::json::parse(
            fwmgr({"upload", "bios", image(), "--json"})
                .out)["result"]["apply_time_unknown"];
    };
    EXPECT_EQ(why(), nullptr);
    bmc.set("settings", "absent");
    EXPECT_EQ(why(), std::string("xyz.openbmc_project.Settings does not tell "
                                 "it (") +
                         serviceUnknown + ")");
}

TEST_F(UploadBios, SaysBothBoardsWhereTheyDiffer)
{
    EXPECT_EQ(fwmgr({"upload", "bios", image("8")}),
              refusal(imageRefused, image("8") + ": is not for this board",
                      mismatch("the image is for board 8, this is board 1")));
    EXPECT_EQ(value("fwinfo", "stagingBIOS"), "");
    EXPECT_EQ(bmc.calls("security"), Calls());
}

TEST_F(UploadBios, BlamesAHostThatTellsItsBoardInAnotherType)
{
    bmc.set("host", "wrong-type");
    const auto blames = [](const std::string& file,
                           const std::vector<std::string>& library) {
        return refusal(callFailed,
                       file + ": could not be compared with this board",
                       {"reading the identifier of this board", library, "",
                        "com.WEXA.Host tells a BoardId of type 's' (\"1\"), "
                        "where 'q' is expected: update the host service"});
    };
    EXPECT_EQ(fwmgr({"upload", "bios", image()}),
              blames(image(), {"boardID is mismatch"}));
    // The library alone would take it for this board's.
    EXPECT_EQ(fwmgr({"upload", "bios", image("0")}), blames(image("0"), {}));
    EXPECT_EQ(value("fwinfo", "stagingBIOS"), "");
}

TEST_F(UploadBios, TellsAHostThatIsNotThereFromAnotherBoard)
{
    bmc.set("host", "absent");
    EXPECT_EQ(fwmgr({"upload", "bios", image()}),
              refusal(callFailed,
                      image() + ": could not be compared with this board",
                      {"reading the identifier of this board",
                       {"boardID is mismatch: sd_bus_call: "
                        "org.freedesktop.DBus.Error.ServiceUnknown: The name "
                        "com.WEXA.Host was not provided by any .service "
                        "files"},
                       serviceUnknown,
                       startIt}));
}

TEST_F(UploadBios, RefusesAFileOfAnotherKindWithTheLibrarysWords)
{
    const auto other = images.bmc("1");
    EXPECT_EQ(fwmgr({"upload", "bios", other}),
              refusal(imageRefused, other + ": refused",
                      {"reading the version of the BIOS image",
                       {"Unable to read version from bios image"},
                       "",
                       "the file is no BIOS image, or is damaged: get it "
                       "again"}));
}

} // namespace
