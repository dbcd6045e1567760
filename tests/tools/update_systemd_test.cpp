// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "update_fixture.hpp"

// systemd that cannot start the flash, or that goes away while it runs.

using namespace test;

namespace
{

class UpdateBySystemd : public Update
{};

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

TEST_F(UpdateBySystemd, SaysThatTheBusWentAwayWhileItWaited)
{
    bmc.set("flash", "hang");
    auto tool = startedUpdate({"bmc", image});
    bmc.awaitFlash("bmc");
    run({"pkill", "-KILL", "-f", bmc.directory() + "/bus.conf"});

    EXPECT_EQ(
        tool.wait(),
        ended(mayStillRun, "may be flashing: the bus went away", mayRun()));
}

} // namespace
