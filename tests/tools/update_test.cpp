// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "tool_test.hpp"

#include <signal.h>

#include <algorithm>
#include <regex>

// A flash from its start to its end, on the real systemd manager: done only
// where it was done.

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
        auto path = image;
        std::ranges::replace(path, '/', '-');
        return R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)" + path +
               ".service";
    }

    /** How the tool ends after it has begun to wait. */
    Completed ended(int status, const std::string& what,
                    const std::string& hint) const
    {
        return {status, "",
                "flashing " + image + "\n" +
                    failureText(what, Reason{"", {}, "", hint})};
    }

    std::string seeLog() const
    {
        return "see what the flash program logged: journalctl -u '" + unit() +
               "'";
    }

    std::string seeStatus() const
    {
        return "see systemctl status '" + unit() + "'";
    }

    Completed update(const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> arguments{"update", "bmc", image};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return fwmgr(arguments);
    }

    static constexpr auto startAgain =
        "start it again, and look at what the flash program logged";

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
        image = images.make(kind, {"--kind", kind, "--version", "1.4b"});
        const auto done = fwmgr({"update", "bios", image});

        EXPECT_EQ(done.status, 0);
        EXPECT_EQ(done.err, "flashing " + image + "\n");
        EXPECT_TRUE(bmc.flash("bios") == bytesOf(image));
    }
}

TEST_F(Update, SaysThatTheFlashOfABiosImageFailed)
{
    bmc.set("flash", "fail");
    auto path = image;
    std::ranges::replace(path, '/', '-');
    EXPECT_EQ(fwmgr({"update", "bios", image}),
              ended(flashFailed,
                    "the flash failed: systemd ended its job with 'failed', "
                    "the unit with 'exit-code'",
                    "see what the flash program logged: journalctl -u "
                    R"('obmc-flash-host-bios@bios_rot2\x20update\x20)" +
                        path + ".service'"));
}

TEST_F(Update, SaysThatTheFlashFailed)
{
    for (const auto& [behaviour, result] :
         {std::pair("fail", "exit-code"), std::pair("corrupt", "exit-code"),
          std::pair("crash", "signal")})
    {
        bmc.set("flash", behaviour);
        EXPECT_EQ(update(),
                  ended(flashFailed,
                        std::string("the flash failed: systemd ended its job "
                                    "with 'failed', the unit with '") +
                            result + "'",
                        seeLog()));
    }
}

TEST_F(Update, SaysThatSystemdGaveTheFlashUp)
{
    bmc.set("flash", "hang");
    bmc.set("flash-timeout", "300");

    EXPECT_EQ(update(),
              ended(flashFailed,
                    "the flash failed: systemd ended its job with 'failed', "
                    "the unit with 'timeout'",
                    seeLog()));
}

TEST_F(Update, SaysThatTimeIsUpAndThatTheFlashMayGoOn)
{
    bmc.set("flash", "hang");

    EXPECT_EQ(update({"--timeout", "1"}),
              ended(timeOut,
                    image + ": the flash has not ended after 1 s and may "
                            "still run",
                    seeStatus()));
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
                    "the flash failed: systemd ended its job with 'canceled'",
                    seeLog()));
}

TEST_F(Update, EndsTheFlashEvenIfNobodyWaits)
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

    const auto hint =
        std::regex_replace(GetParam().hint, std::regex("UNIT"), unit());
    EXPECT_EQ(update(), ended(GetParam().status, GetParam().what, hint));
}

INSTANTIATE_TEST_SUITE_P(
    Update, UpdateSeesThrough,
    testing::Values(
        Unit{"WhoseConditionDoesNotHold",
             "ConditionPathExists=/nonexistent\n"
             "[Service]\nType=oneshot\nExecStart=/bin/true\n",
             flashNotRun,
             "the flash was not run: a condition of the unit did not hold",
             "take conditions out of UNIT"},
        Unit{"WhoseExecConditionDoesNotHold",
             "[Service]\nType=oneshot\nExecCondition=/bin/false\n"
             "ExecStart=/bin/true\n",
             flashNotRun,
             "the flash was not run: a condition of the unit did not hold",
             "take conditions out of UNIT"},
        Unit{"WhoseAssertionDoesNotHold",
             "AssertPathExists=/nonexistent\n"
             "[Service]\nType=oneshot\nExecStart=/bin/true\n",
             flashNotRun,
             "the flash was not run: systemd ended its job with 'assert'",
             "see systemctl status 'UNIT'"},
        Unit{"WhoseRequirementFails",
             "Requires=broken.service\nAfter=broken.service\n"
             "[Service]\nType=oneshot\nExecStart=/bin/true\n",
             flashNotRun,
             "the flash was not run: systemd ended its job with 'dependency'",
             "see systemctl status 'UNIT'"},
        Unit{"ThatIgnoresAFailure",
             "[Service]\nType=oneshot\nExecStart=-/bin/false\n", flashFailed,
             "the flash failed: systemd calls its job done, but the unit "
             "ended with 'success', exit status 1",
             "see what the flash program logged: journalctl -u 'UNIT'"},
        Unit{"ThatNobodyWaitsFor",
             "[Service]\nType=simple\nExecStart=/bin/sleep 1\n", flashFailed,
             "whether the flash is done cannot be told: the unit is of type "
             "simple",
             "make it Type=oneshot"}),
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
              refusal(callFailed, image + ": the flash could not be started",
                      {"starting the flash unit",
                       {"Error in trying to upgrade bmc-rot2: sd_bus_call: "
                        "org.freedesktop.DBus.Error.ServiceUnknown: The name "
                        "org.freedesktop.systemd1 was not provided by any "
                        ".service files"},
                       serviceUnknown,
                       startIt}));
}

TEST_F(Update, SaysThatSystemdLeftTheBusWhileItWaited)
{
    bmc.set("flash", "hang");
    Process tool({fromEnvironment("WEXA_FWMGR"), "update", "bmc", image},
                 bmc.environment());
    bmc.awaitFlash("bmc");
    bmc.set("manager", "absent");

    EXPECT_EQ(tool.wait(),
              ended(callFailed,
                    "systemd left the bus; whether the flash ended is not "
                    "known",
                    startAgain));
}

TEST_F(Update, SaysThatTheBusWentAwayWhileItWaited)
{
    bmc.set("flash", "hang");
    Process tool({fromEnvironment("WEXA_FWMGR"), "update", "bmc", image},
                 bmc.environment());
    bmc.awaitFlash("bmc");
    run({"pkill", "-KILL", "-f", bmc.directory() + "/bus.conf"});

    EXPECT_EQ(tool.wait(),
              ended(callFailed,
                    "the bus went away; whether the flash ended is not known",
                    startAgain));
}

} // namespace
