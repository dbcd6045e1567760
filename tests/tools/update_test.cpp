// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "tool_test.hpp"

#include <signal.h>

#include <algorithm>
#include <regex>

// A flash from its start to its end, on the real systemd manager. The tool
// reports success only where the image was flashed.

using namespace test;
using testing::MatchesRegex;

namespace
{

class Update : public ToolTest
{
  protected:
    Update()
    {
        bmc.set("flash-time", "100");
    }

    std::string unit() const
    {
        return flashUnit("bmc", image);
    }

    /** How the tool ends after it has begun to wait. */
    Completed ended(int status, const std::string& what,
                    const Reason& reason) const
    {
        return {status, "",
                "flashing " + image + "\n" + failureText(what, reason)};
    }

    Completed ended(int status, const std::string& what,
                    const std::string& hint) const
    {
        return ended(status, what, Reason{"", {}, "", hint});
    }

    /** What the tool says of the simulated flash program besides. */
    Reason ofTheProgram(const std::string& device,
                        const std::vector<std::string>& log,
                        const std::string& hint) const
    {
        return {"",
                {},
                "",
                hint,
                "",
                {fromEnvironment("WEXA_BMCSIM") + " write-flash " +
                 bmc.directory() + " " + device + " update " + image},
                log};
    }

    static std::string status(const std::string& unit)
    {
        return "systemctl --user status '" + unit + "'";
    }

    std::string seeLog() const
    {
        return "see what the flash program logged, and " + status(unit());
    }

    std::string mayRun() const
    {
        return "do not cut the power; see " + status(unit());
    }

    std::string unitTemplate(const std::string& name) const
    {
        return bmc.directory() + "/units/" + name + "@.service";
    }

    Completed update(const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> arguments{"update", "bmc", image};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return fwmgr(arguments);
    }

    std::string image = images.bmc("2.14.0");
};

TEST_F(Update, WritesTheImageByteForByteIntoTheFlash)
{
    const auto done = update();

    EXPECT_EQ(done.status, 0);
    EXPECT_THAT(done.out,
                MatchesRegex(".*/bmc: flashed in [0-9]+\\.[0-9] s\n"));
    EXPECT_EQ(done.err, "flashing " + image + "\n");
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(Update, FlashesTwiceInARow)
{
    EXPECT_EQ(update().status, 0);
    image = images.make("second", {"--kind", "bmc", "--version", "3"});
    EXPECT_EQ(update().status, 0);
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(Update, FlashesABiosImageAndACapsule)
{
    for (const auto* kind : {"bios", "capsule"})
    {
        std::vector<std::string> options{"--kind", kind, "--version", "1.4b"};
        if (std::string(kind) == "bios")
        {
            options.insert(options.end(), {"--board", "1"});
        }
        image = images.make(kind, options);
        const auto done = fwmgr({"update", "bios", image});

        EXPECT_EQ(done.status, 0);
        EXPECT_EQ(done.err, "flashing " + image + "\n");
        EXPECT_TRUE(bmc.flash("bios") == bytesOf(image));
    }
}

TEST_F(Update, SaysThatTheFlashOfABiosImageFailed)
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

TEST_F(Update, TellsAFlashThatFailsFromOneThatWritesOtherBytesAndACrash)
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

TEST_F(Update, SaysThatSystemdGaveTheFlashUpAndAfterWhatTime)
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

TEST_F(Update, SaysThatTimeIsUpAndThatTheFlashMayStillRun)
{
    bmc.set("flash", "hang");

    EXPECT_EQ(update({"--timeout", "1"}),
              ended(mayStillRun,
                    image + ": may be flashing: it has not ended after 1 s",
                    mayRun()));
}

TEST_F(Update, CountsTheFirstOutcomeOfAFlashThatIsStopped)
{
    bmc.set("flash", "hang");
    Process tool({fromEnvironment("WEXA_FWMGR"), "update", "bmc", image},
                 bmc.environment());
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

TEST_F(Update, LeavesTheFlashAndNoLockWhereItIsKilled)
{
    bmc.set("flash-time", "500");
    {
        Process tool({fromEnvironment("WEXA_FWMGR"), "update", "bmc", image},
                     bmc.environment());
        bmc.awaitFlash("bmc");
        tool.signal(SIGKILL);
        EXPECT_EQ(tool.wait().status, 128 + SIGKILL);
    }
    bmc.awaitFlashed("bmc", bytesOf(image));
    bmc.awaitIdle(unit());
    EXPECT_EQ(update().status, 0);
}

/** A flash unit that systemd calls done although nothing was flashed, or that
 *  fails in a way of its own.
 */
struct Unit
{
    std::string name;
    std::string sections;
    int status;
    std::string what;
    std::string hint;
    std::vector<std::string> commands = {};
};

class UpdateSeesThrough :
    public Update,
    public testing::WithParamInterface<Unit>
{};

TEST_P(UpdateSeesThrough, AUnit)
{
    writeBytes(bmc.directory() + "/units/broken.service",
               "[Unit]\nDefaultDependencies=no\n"
               "[Service]\nType=oneshot\nExecStart=/bin/false\n");
    bmc.replaceFlashUnit("[Unit]\nDefaultDependencies=no\n" +
                         GetParam().sections);

    const auto inWords = [this](const std::string& text) {
        return std::regex_replace(
            std::regex_replace(text, std::regex("UNIT"), unit()),
            std::regex("TEMPLATE"), unitTemplate("obmc-flash-bmc-rot2"));
    };
    Reason reason{"", {}, "", inWords(GetParam().hint)};
    for (const auto& command : GetParam().commands)
    {
        reason.commands.push_back(std::regex_replace(
            command, std::regex("INSTANCE"), "bmc_rot2 update " + image));
    }
    EXPECT_EQ(update(),
              ended(GetParam().status, inWords(GetParam().what), reason));
}

INSTANTIATE_TEST_SUITE_P(
    Update, UpdateSeesThrough,
    testing::Values(
        Unit{"WhoseConditionDoesNotHold",
             "ConditionPathExists=!/dev/null\n"
             "[Service]\nType=oneshot\nExecStart=/bin/true\n",
             flashNotRun,
             "the flash was not run: the condition "
             "ConditionPathExists=!/dev/null of its unit did not hold",
             "take it out of TEMPLATE"},
        Unit{"WhoseExecConditionDoesNotHold",
             "[Service]\nType=oneshot\nExecCondition=/bin/false\n"
             "ExecStart=/bin/true\n",
             flashNotRun,
             "the flash was not run: an ExecCondition= of its unit did not "
             "hold",
             "take it out of TEMPLATE"},
        Unit{"WhoseAssertionDoesNotHold",
             "AssertPathExists=/nonexistent\n"
             "[Service]\nType=oneshot\nExecStart=/bin/true\n",
             flashNotRun,
             "the flash was not run: systemd ended its job with 'assert'",
             "see systemctl --user status 'UNIT'"},
        Unit{"WhoseRequirementFails",
             "Requires=broken.service\nAfter=broken.service\n"
             "[Service]\nType=oneshot\nExecStart=/bin/true\n",
             flashNotRun,
             "the flash was not run: systemd ended its job with 'dependency'",
             "see systemctl --user status 'UNIT'"},
        Unit{"ThatIgnoresAFailure",
             "[Service]\nType=oneshot\nExecStart=-/bin/false\n",
             flashFailed,
             "the flash failed: its program ended with exit status 1/FAILURE",
             "take the \"-\" before the command, or SuccessExitStatus=, out "
             "of TEMPLATE",
             {"/bin/false"}},
        Unit{"ThatIgnoresTheFailureOfItsFirstProgram",
             "[Service]\nType=oneshot\nExecStart=-/bin/false\n"
             "ExecStart=/bin/true\n",
             flashFailed,
             "the flash failed: one of its programs failed, which the unit "
             "ignores",
             "take the \"-\" before the command, or SuccessExitStatus=, out "
             "of TEMPLATE",
             {"/bin/false", "/bin/true"}},
        Unit{"ThatCountsAFailureAsSuccess",
             "[Service]\nType=oneshot\nSuccessExitStatus=3\n"
             "ExecStart=/bin/sh -c 'exit 3'\nExecStart=/bin/true\n",
             flashFailed,
             "the flash failed: one of its programs failed, which the unit "
             "ignores",
             "take the \"-\" before the command, or SuccessExitStatus=, out "
             "of TEMPLATE",
             {"/bin/sh -c exit 3", "/bin/true"}},
        Unit{"ThatIgnoresTheFailureOfAProgramThatRunsAfterwards",
             "[Service]\nType=oneshot\nExecStart=/bin/true\n"
             "ExecStartPost=-/bin/false\n",
             flashFailed,
             "the flash failed: one of its programs failed, which the unit "
             "ignores",
             "take the \"-\" before the command, or SuccessExitStatus=, out "
             "of TEMPLATE",
             {"/bin/true"}},
        Unit{"WhoseProgramIsMissing",
             "[Service]\nType=oneshot\nExecStart=/nonexistent %I\n",
             flashFailed,
             "the flash failed: its program ended with exit status 203/EXEC: "
             "the program is missing or cannot be executed",
             "install it, or mend ExecStart= in TEMPLATE",
             {"/nonexistent INSTANCE"}},
        Unit{"ThatSystemdDoesNotWaitFor",
             "[Service]\nType=simple\nExecStart=/bin/sleep 1\n", outcomeUnknown,
             "whether the flash is done cannot be told: its unit is of type "
             "simple, for which systemd does not wait",
             "make it Type=oneshot in TEMPLATE"}),
    [](const auto& row) { return row.param.name; });

TEST_F(Update, SaysThatThereIsNoSuchUnit)
{
    bmc.set("manager", "error");

    EXPECT_EQ(update(),
              refusal(callFailed, image + ": the flash could not be started",
                      {"starting the flash unit",
                       {"Error in trying to upgrade bmc-rot2: sd_bus_call: "
                        "org.freedesktop.systemd1.NoSuchUnit: Unit " +
                        unit() + " not found."},
                       "org.freedesktop.systemd1.NoSuchUnit",
                       "install the template of the flash unit"}));
}

TEST_F(Update, SaysThatSystemdIsAbsent)
{
    bmc.set("manager", "absent");

    EXPECT_EQ(update(),
              refusal(callFailed, image + ": the flash was not started",
                      {"asking systemd whether the device is being flashed",
                       {},
                       serviceUnknown,
                       startIt,
                       "LoadUnit of org.freedesktop.systemd1: failed"}));
}

TEST_F(Update, FlashesWhileSystemdExecutesItselfAnew)
{
    bmc.set("flash-time", "1000");
    Process tool({fromEnvironment("WEXA_FWMGR"), "update", "bmc", image},
                 bmc.environment());
    bmc.awaitFlash("bmc");
    bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
              "org.freedesktop.systemd1.Manager", "Reexecute"});

    const auto done = tool.wait();
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(Update, SaysThatSystemdCameBackWithoutTheFlash)
{
    bmc.set("flash", "hang");
    Process tool({fromEnvironment("WEXA_FWMGR"), "update", "bmc", image},
                 bmc.environment());
    bmc.awaitFlash("bmc");
    bmc.set("manager", "absent");
    bmc.set("manager", "normal");

    EXPECT_EQ(tool.wait(),
              ended(mayStillRun,
                    image + ": may be flashing: systemd came back and knows "
                            "nothing of it",
                    mayRun()));
}

TEST_F(Update, WaitsForSystemdUntilTheTimeIsUp)
{
    bmc.set("flash", "hang");
    Process tool({fromEnvironment("WEXA_FWMGR"), "update", "bmc", image,
                  "--timeout", "2"},
                 bmc.environment());
    bmc.awaitFlash("bmc");
    bmc.set("manager", "absent");

    EXPECT_EQ(tool.wait(),
              ended(mayStillRun,
                    image + ": may be flashing: it has not ended after 2 s",
                    mayRun()));
}

TEST_F(Update, SaysThatTheBusWentAwayWhileItWaited)
{
    bmc.set("flash", "hang");
    Process tool({fromEnvironment("WEXA_FWMGR"), "update", "bmc", image},
                 bmc.environment());
    bmc.awaitFlash("bmc");
    run({"pkill", "-KILL", "-f", bmc.directory() + "/bus.conf"});

    EXPECT_EQ(tool.wait(),
              ended(mayStillRun, image + ": may be flashing: the bus went away",
                    mayRun()));
}

} // namespace
