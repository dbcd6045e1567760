// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/call_gate.hpp"
#include "tool_test.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

// A device is flashed by one image at a time, by one tool at a time.

using namespace test;

namespace
{

class UpdateOfADevice : public ToolTest
{
  protected:
    /** The hint below the refusal. */
    static std::string waitOrStop(const std::string& unit)
    {
        return "wait for it, or stop it with systemctl --user stop '" + unit +
               "'";
    }

    std::string cpld(const std::string& name, const std::string& board) const
    {
        return images.make(
            name, {"--kind", "cpld", "--version", "1", "--board", board});
    }

    std::string busId() const
    {
        const auto told =
            bmc.call({"org.freedesktop.DBus", "/org/freedesktop/DBus",
                      "org.freedesktop.DBus", "GetId"})
                .out;
        return told.substr(3, 32);
    }

    std::string lockFile() const
    {
        const auto directory = bmc.directory() + "/run/wexa-fwmgr";
        std::filesystem::create_directory(directory);
        return directory + '/' + busId() + "-bmc.lock";
    }

    std::string image = images.bmc("1");
    std::string other =
        images.make("other", {"--kind", "bmc", "--version", "2"});
};

TEST_F(UpdateOfADevice, RefusesAnImageThatIsBeingFlashed)
{
    bmc.set("flash", "hang");
    EXPECT_EQ(fwmgr({"update", "bmc", image, "--no-wait"}).status, 0);
    EXPECT_EQ(fwmgr({"update", "bmc", image}),
              refusal(flashNotRun, image + ": is being flashed already",
                      waitOrStop(flashUnit("bmc", image))));
}

TEST_F(UpdateOfADevice, RefusesAnotherImageForIt)
{
    bmc.set("flash", "hang");
    EXPECT_EQ(fwmgr({"update", "bmc", image, "--no-wait"}).status, 0);
    const auto unit = flashUnit("bmc", image);
    EXPECT_EQ(
        fwmgr({"update", "bmc", other}),
        refusal(flashNotRun,
                other + ": its device is being flashed already, by " + unit,
                waitOrStop(unit)));
}

TEST_F(UpdateOfADevice, RefusesTheSameComponentAndFlashesOtherDevices)
{
    bmc.set("flash", "hang");
    const auto first = cpld("first", "1");
    EXPECT_EQ(
        fwmgr({"update", "cpld", first, "--component", "MB_CPLD", "--no-wait"})
            .status,
        0);
    const auto unit = flashUnit("cpld", first, "MB_CPLD");
    const auto second = cpld("second", "1");
    EXPECT_EQ(
        fwmgr({"update", "cpld", second, "--component", "MB_CPLD"}),
        refusal(flashNotRun,
                second + ": its device is being flashed already, by " + unit,
                waitOrStop(unit)));

    bmc.set("flash", "normal");
    EXPECT_EQ(
        fwmgr({"update", "cpld", cpld("scm", "2"), "--component", "SCM_CPLD"})
            .status,
        0);
    EXPECT_EQ(fwmgr({"update", "bmc", image}).status, 0);
}

TEST_F(UpdateOfADevice, OfTwoToolsAtTheSameMomentFlashesOneImage)
{
    bmc.set("flash", "hang");
    auto one = startedUpdate({"bmc", image});
    auto two = startedUpdate({"bmc", other});
    // The one that flashes waits until it is asked to end.
    bmc.awaitFlash("bmc");
    const auto flashed = bmc.flash("bmc");
    const auto isFirst = bytesOf(image).starts_with(flashed);
    ASSERT_NE(isFirst, bytesOf(other).starts_with(flashed));
    EXPECT_EQ((isFirst ? two : one).wait().status, flashNotRun);
}

TEST_F(UpdateOfADevice, IsRefusedWhileAnotherToolHasItsLock)
{
    const auto path = lockFile();
    const auto lock = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);
    EXPECT_EQ(fwmgr({"update", "bmc", image}),
              refusal(flashNotRun,
                      image + ": another wexa-fwmgr flashes its device, or "
                              "is about to",
                      "wait until it has ended"));
    close(lock);

    EXPECT_EQ(fwmgr({"update", "bmc", image}).status, 0);
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(UpdateOfADevice, SaysThatItCannotBeLocked)
{
    const auto directory = bmc.directory() + "/run/wexa-fwmgr";
    writeBytes(directory, "");
    const auto done = fwmgr({"update", "bmc", image});
    EXPECT_EQ(done.status, callFailed);
    EXPECT_EQ(done.err,
              failureText(image + ": cannot lock its device with " + directory +
                              ": Operation not permitted",
                          {"",
                           {},
                           "",
                           "run the tool as root, or set XDG_RUNTIME_DIR to a "
                           "directory of your own"}));
}

TEST_F(UpdateOfADevice, RefusesAUnitThatWouldNotRunAgain)
{
    bmc.replaceFlashUnit("[Unit]\nDefaultDependencies=no\n[Service]\n"
                         "Type=oneshot\nRemainAfterExit=yes\n"
                         "ExecStart=/bin/true\n");
    EXPECT_EQ(fwmgr({"update", "bmc", image}).status, 0);
    EXPECT_EQ(fwmgr({"update", "bmc", image}),
              refusal(flashNotRun,
                      image + ": its flash unit is still active from an "
                              "earlier flash, and would not run again",
                      "stop it with systemctl --user stop '" +
                          flashUnit("bmc", image) +
                          "', and take RemainAfterExit= out of " +
                          bmc.directory() +
                          "/units/obmc-flash-bmc-rot2@.service"));
}

TEST_F(UpdateOfADevice, IsRefusedWithALockDirectoryOfAnotherUser)
{
    const auto directory = bmc.directory() + "/run/wexa-fwmgr";
    std::filesystem::create_directory(directory);
    ASSERT_EQ(chown(directory.c_str(), 65534, 65534), 0);
    const auto done = fwmgr({"update", "bmc", image});
    EXPECT_EQ(done.status, callFailed);
    EXPECT_THAT(done.err,
                testing::StartsWith("wexa-fwmgr: " + image +
                                    ": cannot lock its device with " +
                                    directory + ": Operation not permitted\n"));
}

TEST_F(UpdateOfADevice, TakesNoEarlierJobOfItsUnitForItsOwn)
{
    bmc.set("flash", "hang");
    bmc.set("manager", "slow");
    CallGate gate(bmc.busAddress());
    auto tool = startedUpdate({"bmc", image});
    // It listens already, waits for an answer, and stands still.
    gate.awaitCall("Subscribe");
    tool.signal(SIGSTOP);
    for (const auto* member : {"StartUnit", "StopUnit"})
    {
        bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                  "org.freedesktop.systemd1.Manager", member, "ss",
                  flashUnit("bmc", image), "replace"});
    }
    bmc.awaitIdle(flashUnit("bmc", image));
    bmc.set("flash", "normal");
    tool.signal(SIGCONT);

    const auto done = tool.wait();
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(UpdateOfADevice, IsNotRunWhereSystemdStartsItsUnitTooOften)
{
    bmc.replaceFlashUnit("[Unit]\nDefaultDependencies=no\n"
                         "StartLimitIntervalSec=1h\nStartLimitBurst=1\n"
                         "[Service]\nType=oneshot\nExecStart=/bin/false\n");
    // A unit that failed is not forgotten.
    EXPECT_EQ(fwmgr({"update", "bmc", image}).status, flashFailed);
    const auto done = fwmgr({"update", "bmc", image});
    const auto unit = " '" + flashUnit("bmc", image) + "'";
    EXPECT_EQ(done,
              (Completed{
                  flashNotRun, "",
                  "flashing " + image + "\n" +
                      failureText(image + ": the flash was not run: systemd "
                                          "ended its job with 'failed' and ran "
                                          "nothing",
                                  {"",
                                   {},
                                   "",
                                   "see systemctl --user status" + unit +
                                       "; where it was started too often, "
                                       "systemctl --user reset-failed" +
                                       unit})}));
}

} // namespace
