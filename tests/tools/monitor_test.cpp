// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "schema.hpp"
#include "tool_test.hpp"

#include <nlohmann/json.hpp>
#include <signal.h>

#include <memory>
#include <regex>

// `monitor` tells what happens as it happens, until it is stopped.

using namespace test;

namespace
{

class Monitor : public ToolTest
{
  protected:
    Monitor()
    {
        bmc.set("flash-time", "50");
    }

    /** Started, and listening. */
    std::unique_ptr<Process>
    started(const std::vector<std::string>& options = {}) const
    {
        std::vector<std::string> command{fromEnvironment("WEXA_FWMGR"),
                                         "monitor"};
        command.insert(command.end(), options.begin(), options.end());
        auto monitor = std::make_unique<Process>(command, bmc.environment());
        monitor->awaitOutput("listening");
        return monitor;
    }

    static std::string timeless(const std::string& text)
    {
        return std::regex_replace(
            text, std::regex("[0-9-]+T[0-9:]+[+-][0-9]{4}"), "TIME");
    }

    /** What the schema does not allow, times apart. */
    static std::string violationsApartFromTimes(const std::string& text)
    {
        return violationsIn(std::regex_replace(text, std::regex("TIME"),
                                               "2026-01-01T00:00:00+0000"));
    }

    static Completed stopped(Process& monitor, int signal = SIGINT)
    {
        monitor.signal(signal);
        auto done = monitor.wait();
        done.out = timeless(done.out);
        return done;
    }

    std::string image = images.bmc("1");
};

TEST_F(Monitor, TellsHowEachFlashEnded)
{
    const auto monitor = started();
    EXPECT_EQ(fwmgr({"update", "bmc", image}).status, 0);
    monitor->awaitOutput(": flashed\n");
    bmc.set("flash", "fail");
    EXPECT_EQ(fwmgr({"update", "bios", image, "--no-verify"}).status,
              flashFailed);
    monitor->awaitOutput("1/FAILURE\n");
    bmc.set("flash", "normal");
    bmc.set("flash-unit", "condition");
    EXPECT_EQ(fwmgr({"update", "cpld", image, "--component", "MB_CPLD",
                     "--no-verify"})
                  .status,
              flashNotRun);
    monitor->awaitOutput("did not hold\n");

    EXPECT_EQ(
        stopped(*monitor),
        (Completed{
            0,
            "TIME listening; Ctrl-C ends it\nTIME bmc " + image +
                ": flashed\nTIME bios " + image +
                ": the flash failed: its program ended with exit status "
                "1/FAILURE\nTIME cpld MB_CPLD " +
                image +
                ": the flash was not run: the condition "
                "ConditionPathExists=/nonexistent of its unit did not hold\n",
            ""}));
}

TEST_F(Monitor, ShowsThePathOfAUnitPlainOnOneLine)
{
    const auto monitor = started();
    // A unit unescapes what its name holds: an escape sequence and a newline.
    EXPECT_EQ(
        bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                  "org.freedesktop.systemd1.Manager", "StartUnit", "ss",
                  R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20-x\x1b\x5b2J)"
                  R"(\x0aforged.service)",
                  "replace"})
            .status,
        0);
    monitor->awaitOutput("1/FAILURE\n");

    EXPECT_EQ(stopped(*monitor),
              (Completed{0,
                         "TIME listening; Ctrl-C ends it\n"
                         "TIME bmc /x\\x1b[2J\\x0aforged: the flash failed: "
                         "its program ended with exit status 1/FAILURE\n",
                         ""}));
}

TEST_F(Monitor, TellsOnceOfAFlashThatIsStopped)
{
    bmc.set("flash", "hang");
    const auto monitor = started();
    EXPECT_EQ(fwmgr({"update", "bmc", image, "--no-wait"}).status, 0);
    bmc.awaitFlash("bmc");
    EXPECT_EQ(bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                        "org.freedesktop.systemd1.Manager", "StopUnit", "ss",
                        flashUnit("bmc", image), "replace"})
                  .status,
              0);
    monitor->awaitOutput("'canceled')\n");
    bmc.awaitIdle(flashUnit("bmc", image));
    bmc.set("flash", "normal");
    EXPECT_EQ(fwmgr({"update", "bmc", image}).status, 0);
    monitor->awaitOutput(": flashed\n");

    EXPECT_EQ(stopped(*monitor),
              (Completed{0,
                         "TIME listening; Ctrl-C ends it\nTIME bmc " + image +
                             ": the flash failed: it was stopped (systemd "
                             "ended its job with 'canceled')\nTIME bmc " +
                             image + ": flashed\n",
                         ""}));
}

TEST_F(Monitor, TellsThatAUnitDidNotRunAgain)
{
    bmc.replaceFlashUnit("[Unit]\nDefaultDependencies=no\n[Service]\n"
                         "Type=oneshot\nRemainAfterExit=yes\n"
                         "ExecStart=/bin/true\n");
    const auto monitor = started();
    for (const auto* text : {": flashed\n", "did not run again\n"})
    {
        EXPECT_EQ(
            bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                      "org.freedesktop.systemd1.Manager", "StartUnit", "ss",
                      flashUnit("bmc", image), "replace"})
                .status,
            0);
        monitor->awaitOutput(text);
    }
    EXPECT_EQ(stopped(*monitor).status, 0);
}

TEST_F(Monitor, TellsOfFlashesThatBeganBefore)
{
    bmc.set("flash-time", "2000");
    EXPECT_EQ(fwmgr({"update", "bmc", image, "--no-wait"}).status, 0);
    const auto monitor = started();
    monitor->awaitOutput(": flashed\n");
    EXPECT_EQ(stopped(*monitor, SIGTERM).status, 0);
}

TEST_F(Monitor, TellsOfNotificationsAndOfSystemdButOfNoOtherUnit)
{
    const auto monitor = started();
    writeBytes(bmc.directory() + "/units/other.service",
               "[Unit]\nDefaultDependencies=no\n"
               "[Service]\nType=oneshot\nExecStart=/bin/true\n");
    EXPECT_EQ(bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                        "org.freedesktop.systemd1.Manager", "StartUnit", "ss",
                        "other.service", "replace"})
                  .status,
              0);
    bmc.set("cpld-bound", "MB_CPLD");
    monitor->awaitOutput("bindedDevicesChanged\n");
    bmc.set("manager", "absent");
    monitor->awaitOutput("left the bus\n");
    bmc.set("manager", "normal");
    monitor->awaitOutput("is on the bus\n");
    EXPECT_EQ(fwmgr({"update", "bmc", image}).status, 0);
    monitor->awaitOutput(": flashed\n");

    EXPECT_EQ(stopped(*monitor),
              (Completed{0,
                         "TIME listening; Ctrl-C ends it\n"
                         "TIME CPLD notification bindedDevicesChanged\n"
                         "TIME systemd left the bus\n"
                         "TIME systemd is on the bus\n"
                         "TIME bmc " +
                             image + ": flashed\n",
                         ""}));
}

TEST_F(Monitor, PrintsOneJsonValueAnEventALine)
{
    const auto monitor = started({"--json"});
    bmc.set("cpld-bound", "MB_CPLD");
    monitor->awaitOutput("bindedDevicesChanged");
    EXPECT_EQ(fwmgr({"update", "bmc", image}).status, 0);
    monitor->awaitOutput("flash_ended");
    monitor->awaitOutput("}");

    const auto done = stopped(*monitor);
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    EXPECT_EQ(violationsIn(std::regex_replace(done.out, std::regex("TIME"),
                                              "2026-01-01T00:00:00+0000")),
              "");
    const auto value = nlohmann::json::parse(done.out);
    ASSERT_EQ(value["events"].size(), 3);
    EXPECT_EQ(value["events"][0]["event"], "listening");
    EXPECT_EQ(value["events"][1]["member"], "bindedDevicesChanged");
    EXPECT_EQ(value["events"][2]["outcome"], "success");
    EXPECT_EQ(value["events"][2]["what"], image);
}

TEST_F(Monitor, PrintsOneJsonValueWhereNothingHappened)
{
    const auto monitor = started({"--json"});
    const auto done = stopped(*monitor);
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(violationsApartFromTimes(done.out), "");
}

TEST_F(Monitor, SaysThatTheBusWentAway)
{
    const auto monitor = started();
    bmc.set("bus", "gone");
    const auto done = monitor->wait();
    EXPECT_EQ(done.status, callFailed);
    EXPECT_EQ(timeless(done.out), "TIME listening; Ctrl-C ends it\n");
    EXPECT_THAT(done.err,
                testing::MatchesRegex(
                    "wexa-fwmgr: the bus went away\n  D-Bus:    .*\n"
                    "  hint:     start the bus, then run wexa-fwmgr again\n"));
}

TEST_F(Monitor, SaysAsJsonThatTheBusWentAwayAfterAnEvent)
{
    const auto monitor = started({"--json"});
    bmc.set("cpld-bound", "MB_CPLD");
    monitor->awaitOutput("bindedDevicesChanged");
    bmc.set("bus", "gone");
    const auto done = monitor->wait();
    EXPECT_EQ(done.status, callFailed);
    EXPECT_EQ(violationsIn(done.out), "") << done.out;
    EXPECT_EQ(done.err, "");
}

} // namespace
