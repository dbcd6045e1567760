// SPDX-License-Identifier: Apache-2.0
#include "update_fixture.hpp"

// A flash that fails, is stopped or does not end: what the tool says of it.

using namespace test;

namespace
{

class UpdateThatFails : public Update
{};

TEST_F(UpdateThatFails, SaysThatTheFlashOfABiosImageFailed)
{
    image = images.make(
        "bios", {"--kind", "bios", "--version", "1.4b", "--board", "1"});
    bmc.set("flash", "fail");
    EXPECT_EQ(
        fwmgr({"update", "bios", image}),
        ended(flashFailed,
              "the flash failed: its program ended with exit status "
              "1/FAILURE",
              ofTheProgram("bios_rot2",
                           {"flash: bios_rot2 update " + image +
                            ": the write to bios failed when half was written"},
                           "see what the flash program logged, and " +
                               status(flashUnit("bios", image)))));
}

TEST_F(UpdateThatFails,
       TellsAFlashThatFailsFromOneThatWritesOtherBytesAndACrash)
{
    const auto words = "flash: bmc_rot2 update " + image + ": ";
    bmc.set("flash", "fail");
    EXPECT_EQ(
        update(),
        ended(flashFailed,
              "the flash failed: its program ended with exit status "
              "1/FAILURE",
              ofTheProgram("bmc_rot2",
                           {words + "the write to bmc failed when half was "
                                    "written"},
                           seeLog())));
    bmc.set("flash", "corrupt");
    EXPECT_EQ(
        update(),
        ended(flashFailed,
              "the flash failed: its program ended with exit status 1/FAILURE",
              ofTheProgram("bmc_rot2",
                           {words + "bmc does not hold what was written"},
                           seeLog())));
    bmc.set("flash", "crash");
    EXPECT_EQ(update(),
              ended(flashFailed,
                    "the flash failed: its program ended with signal 9/SIGKILL",
                    ofTheProgram("bmc_rot2", {}, seeLog())));
}

TEST_F(UpdateThatFails, SaysThatSystemdGaveTheFlashUpAndAfterWhatTime)
{
    bmc.set("flash", "hang");
    bmc.set("flash-timeout", "300");

    EXPECT_EQ(update(),
              ended(flashFailed,
                    "the flash failed: it did not end within 0.3 s, and "
                    "systemd stopped it",
                    ofTheProgram("bmc_rot2", {},
                                 "set a longer TimeoutStartSec= in " +
                                     unitTemplate("obmc-flash-bmc-rot2") +
                                     " if it needs more time; " + seeLog())));
}

TEST_F(UpdateThatFails, SaysThatTimeIsUpAndThatTheFlashMayStillRun)
{
    bmc.set("flash", "hang");

    EXPECT_EQ(update({"--timeout", "1"}),
              ended(mayStillRun, "may be flashing: it has not ended after 1 s",
                    mayRun()));
}

TEST_F(UpdateThatFails, CountsTheFirstOutcomeOfAFlashThatIsStopped)
{
    bmc.set("flash", "hang");
    auto tool = startedUpdate({"bmc", image});
    bmc.awaitFlash("bmc");
    bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
              "org.freedesktop.systemd1.Manager", "StopUnit", "ss", unit(),
              "replace"});

    EXPECT_EQ(tool.wait(),
              ended(flashFailed,
                    "the flash failed: it was stopped (systemd ended its job "
                    "with 'canceled')",
                    ofTheProgram("bmc_rot2", {},
                                 "flash the image again before the device "
                                 "starts from it")));
}

} // namespace
