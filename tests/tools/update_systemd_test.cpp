// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/call_gate.hpp"
#include "schema.hpp"
#include "scripted_board.hpp"
#include "update_fixture.hpp"

#include <nlohmann/json.hpp>
#include <signal.h>

// systemd that cannot start the flash, or that goes away while it runs.

using namespace test;

namespace
{

class UpdateBySystemd : public Update
{
  protected:
    void endTheBus() const
    {
        run({"pkill", "-KILL", "-f", bmc.directory() + "/bus.conf"});
    }
};

TEST_F(UpdateBySystemd, SaysThatThereIsNoSuchUnit)
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

TEST_F(UpdateBySystemd, SaysThatSystemdIsAbsent)
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

TEST_F(UpdateBySystemd, FlashesWhileSystemdExecutesItselfAnew)
{
    bmc.set("flash-time", "1000");
    auto tool = startedUpdate({"bmc", image});
    bmc.awaitFlash("bmc");
    bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
              "org.freedesktop.systemd1.Manager", "Reexecute"});

    const auto done = tool.wait();
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(UpdateBySystemd, SaysThatSystemdCameBackWithoutTheFlash)
{
    bmc.set("flash", "hang");
    auto tool = startedUpdate({"bmc", image});
    bmc.awaitFlash("bmc");
    bmc.set("manager", "absent");
    bmc.set("manager", "normal");

    EXPECT_EQ(tool.wait(), ended(mayStillRun,
                                 "may be flashing: systemd came back and knows "
                                 "nothing of it",
                                 mayRun()));
}

TEST_F(UpdateBySystemd, WaitsForSystemdUntilTheTimeIsUp)
{
    bmc.set("flash", "hang");
    auto tool = startedUpdate({"bmc", image, "--timeout", "2"});
    bmc.awaitFlash("bmc");
    bmc.set("manager", "absent");

    EXPECT_EQ(tool.wait(),
              ended(mayStillRun, "may be flashing: it has not ended after 2 s",
                    mayRun()));
}

TEST_F(UpdateBySystemd, StartsNothingWhereTheBusWentAwayBeforeTheStart)
{
    bmc.set("manager", "slow");
    CallGate gate(bmc.busAddress());
    auto tool = startedUpdate({"bmc", image, "--json"});
    // Stopped until the answer is there and the bus is gone, it next listens
    // to the unit.
    gate.awaitCall("ListUnitsByPatterns");
    tool.signal(SIGSTOP);
    gate.awaitAnswer();
    endTheBus();
    tool.signal(SIGCONT);

    const auto done = tool.wait();
    EXPECT_EQ(done.status, callFailed);
    EXPECT_EQ(violationsIn(done.out), "");
    const auto value = nlohmann::json::parse(done.out);
    EXPECT_EQ(value["error"]["message"], image + ": the flash was not started");
    EXPECT_EQ(value["result"], (nlohmann::json{{"image", image},
                                               {"unit", unit()},
                                               {"verified", true},
                                               {"started", false}}));
}

TEST_F(UpdateBySystemd, SaysThatTheBusWentAwayWhileItWaited)
{
    bmc.set("flash", "hang");
    auto tool = startedUpdate({"bmc", image});
    bmc.awaitFlash("bmc");
    endTheBus();

    EXPECT_EQ(
        tool.wait(),
        ended(mayStillRun, "may be flashing: the bus went away", mayRun()));
}

/** A bus that refuses to answer for itself. */
class UpdateOnARefusingBus : public ScriptedBoard
{
  protected:
    const std::string image = images.bmc("1");
};

TEST_F(UpdateOnARefusingBus, SaysThatTheFlashWasNotStarted)
{
    bus.refuse("org.freedesktop.DBus");

    EXPECT_EQ(fwmgr({"update", "bmc", image, "--no-verify"}),
              refusal(callFailed, image + ": the flash was not started",
                      {"",
                       {},
                       "org.freedesktop.DBus.Error.AccessDenied",
                       "the service, or the policy of the bus, does not allow "
                       "this: run it as root, or look at what the service "
                       "itself logged",
                       "GetId of org.freedesktop.DBus: failed"}));
}

TEST_F(UpdateOnARefusingBus, TellsTheUnitThatItDidNotStart)
{
    bus.refuse("org.freedesktop.DBus");

    const auto done = fwmgr({"update", "bmc", image, "--no-verify", "--json"});
    EXPECT_EQ(violationsIn(done.out), "");
    EXPECT_EQ(nlohmann::json::parse(done.out)["result"],
              (nlohmann::json{{"image", image},
                              {"unit", flashUnit("bmc", image)},
                              {"verified", false},
                              {"started", false}}));
}

} // namespace
