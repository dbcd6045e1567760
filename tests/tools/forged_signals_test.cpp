// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/forged_flash.hpp"
#include "tool_test.hpp"

#include <signal.h>

// Any local user may send signals to the tool's connection. Here a user sends
// false ones, from the tool's start to its end.

using namespace test;

namespace
{

class Forged : public ForgedFlash
{
  protected:
    /** All that the tool listens to, as it should not be. */
    std::vector<ForgedSignal> lies() const
    {
        const auto systemd = "org.freedesktop.systemd1";
        const auto leaves = forgedNameOwnerChanged(systemd, ":1.1", "");
        const auto ended = forgedJobRemoved(unit, lie.jobResult);
        const auto began = forgedJobNew(unit);
        auto changed = forgedPropertiesChanged(unit);
        return {leaves, malformed(leaves), ended,   malformed(ended),
                began,  malformed(began),  changed, malformed(changed)};
    }

    void forgeUntilItEnds(const Process& tool) const
    {
        do
        {
            forge(bus.address(), lies());
        } while (!hasEnded(tool));
    }

    std::vector<std::string>
    tool(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> command{fromEnvironment("WEXA_FWMGR")};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return command;
    }

    std::string unit = flashUnit("bmc", image);
};

TEST_P(Forged, SignalsDoNotChangeHowAnUpdateEnds)
{
    Process update(tool({"update", "bmc", image}), bmc.environment());
    forgeUntilItEnds(update);

    const auto done = update.wait();
    EXPECT_EQ(done.status, flashes() ? 0 : flashFailed) << done.err;
    EXPECT_EQ(bmc.flash("bmc") == bytesOf(image), flashes());
}

INSTANTIATE_TEST_SUITE_P(Outcomes, Forged, ForgedFlash::withEveryLie(),
                         ForgedFlash::name);

class ForgedToMonitor : public Forged
{};

TEST_P(ForgedToMonitor, SignalsAreNotShown)
{
    Process monitor(tool({"monitor"}), bmc.environment());
    monitor.awaitOutput("listening");
    auto all = lies();
    auto notified = forgedJobNew("");
    notified.path = "/xyz/openbmc_project/cpld_update_mgr";
    all.push_back(notified);
    forge(bus.address(), all);
    // What systemd itself says comes behind them.
    EXPECT_EQ(bmc.run(tool({"update", "bmc", image})).status, 0);
    monitor.awaitOutput(": flashed\n");
    forge(bus.address(), all);

    monitor.signal(SIGINT);
    const auto done = monitor.wait();
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    EXPECT_THAT(done.out, testing::MatchesRegex("[^ ]+ listening; [^\n]*\n"
                                                "[^ ]+ bmc [^\n]*: flashed\n"));
}

TEST_P(ForgedToMonitor, SignalsAreShownWithVerbose)
{
    Process monitor(tool({"monitor", "--verbose"}), bmc.environment());
    monitor.awaitOutput("listening");
    forge(bus.address(),
          {forgedJobRemoved(unit, "done"),
           forgedNameOwnerChanged("org.freedesktop.systemd1", ":1.1", "")});
    EXPECT_EQ(bmc.run(tool({"update", "bmc", image})).status, 0);
    monitor.awaitOutput(": flashed\n");

    monitor.signal(SIGINT);
    EXPECT_THAT(
        monitor.wait().err,
        testing::MatchesRegex(
            "(.*\n)?wexa-fwmgr: ignored: JobRemoved from :1\\.[0-9]+, which "
            "is not org\\.freedesktop\\.systemd1\n"
            "(.*\n)?wexa-fwmgr: ignored: NameOwnerChanged from :1\\.[0-9]+, "
            "which is not the bus\n(.*\n)?"));
}

INSTANTIATE_TEST_SUITE_P(Outcomes, ForgedToMonitor,
                         ForgedFlash::with({{"", "normal", "failed"}}),
                         ForgedFlash::name);

} // namespace
