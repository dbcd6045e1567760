// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "simulator_run.hpp"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/mount.h>
#include <unistd.h>

// What a simulated BMC leaves whose processes were all killed at once, and who
// may remove it.

using namespace test;
using testing::HasSubstr;

namespace
{

class RunLeaves : public Run
{
  protected:
    /** Kills all processes of a simulated BMC, before any can clean up; the
     *  directory that is left.
     */
    std::string killedAtOnce() const
    {
        Process simulator(
            runningShell("echo in $WEXA_BMCSIM_DIR.; exec sleep 60"),
            environment());
        const auto said = simulator.awaitOutput(".\n");
        const auto all = processes();
        for (const auto number : {SIGSTOP, SIGKILL})
        {
            for (const auto process : all)
            {
                kill(process, number);
            }
        }
        EXPECT_EQ(simulator.wait().status, 128 + SIGKILL);
        awaitTrue("no processes", [this] { return processes().empty(); });
        return said.substr(3, said.size() - 5);
    }

    Completed state() const
    {
        return run(simulator({"state"}), environment());
    }
};

INSTANTIATE_TEST_SUITE_P(Conditions, RunLeaves, inAllConditions(), nameOf);

TEST_P(RunLeaves, NothingAfterTheNextStart)
{
    const auto left = killedAtOnce();
    EXPECT_EQ(std::filesystem::exists(left), true);

    EXPECT_EQ(bmcsim({"true"}), (Completed{0, "", ""}));

    expectNoTraces();
}

TEST_P(RunLeaves, NoBmcThatRuns)
{
    killedAtOnce();
    EXPECT_EQ(state(),
              (Completed{1, "",
                         "wexa-bmcsim: no simulated BMC runs; start one with "
                         "wexa-bmcsim run -- COMMAND\n"}));
    EXPECT_EQ(bmcsim({fromEnvironment("WEXA_BMCSIM"), "state"}).status, 0);
}

TEST_P(RunLeaves, AnotherRunningBmcUntouched)
{
    Process other(runningShell("echo up; exec sleep 60"), environment());
    other.awaitOutput("up\n");

    EXPECT_EQ(bmcsim({"true"}).status, 0);

    EXPECT_EQ(state().status, 0);
    other.signal(SIGTERM);
    EXPECT_EQ(other.wait().status, 128 + SIGTERM);
    expectNoTraces();
}

TEST_P(RunLeaves, ForeignDirectoriesAndLinksUntouched)
{
    const TemporaryDirectory target;
    writeBytes(target.file("lock"), "A simulated BMC lives here.\n");
    std::filesystem::create_directory_symlink(
        target.path(), temporary.file("wexa-bmcsim.linked"));
    const auto foreign = temporary.file("wexa-bmcsim.another");
    for (const auto& folder : {foreign, temporary.file("wexa-bmcsim.nobody"),
                               temporary.file("wexa-bmcsim.locked")})
    {
        std::filesystem::create_directory(folder);
    }
    writeBytes(foreign + "/lock", "Something else.\n");
    writeBytes(temporary.file("wexa-bmcsim.nobody/lock"),
               "A simulated BMC lives here.\n");
    ASSERT_EQ(chown(temporary.file("wexa-bmcsim.nobody").c_str(), 65533, 65533),
              0);
    std::filesystem::create_symlink(target.file("lock"),
                                    temporary.file("wexa-bmcsim.locked/lock"));

    EXPECT_EQ(bmcsim({"true"}), (Completed{0, "", ""}));

    EXPECT_EQ(run({"sh", "-c",
                   "cd " + temporary.path().string() +
                       " && find . -mindepth 1 ! -name names | sort"})
                  .out,
              "./wexa-bmcsim.another\n./wexa-bmcsim.another/lock\n"
              "./wexa-bmcsim.linked\n"
              "./wexa-bmcsim.locked\n./wexa-bmcsim.locked/lock\n"
              "./wexa-bmcsim.nobody\n./wexa-bmcsim.nobody/lock\n");
    EXPECT_EQ(std::filesystem::exists(target.file("lock")), true);
    EXPECT_THAT(state().err, HasSubstr("no simulated BMC runs"));
}

TEST_P(RunLeaves, WhatIsMountedInItsDirectory)
{
    SKIP_WITHOUT_MOUNTS();
    const TemporaryDirectory mounted;
    // Whoever may remove it must not.
    std::filesystem::permissions(mounted.path(), std::filesystem::perms::all);
    writeBytes(mounted.file("kept"), "bytes");
    Process simulator(runningShell("mkdir $WEXA_BMCSIM_DIR/mounted; echo in "
                                   "$WEXA_BMCSIM_DIR.; exec sleep 60"),
                      environment());
    const auto said = simulator.awaitOutput(".\n");
    const auto place = said.substr(3, said.size() - 5) + "/mounted";
    // A bind mount: both are of the same file system.
    ASSERT_EQ(
        mount(mounted.path().c_str(), place.c_str(), nullptr, MS_BIND, nullptr),
        0);
    simulator.signal(SIGTERM);
    EXPECT_EQ(simulator.wait().status, 128 + SIGTERM);

    EXPECT_EQ(bytesOf(mounted.file("kept")), "bytes");

    for (const auto& left :
         std::filesystem::directory_iterator(temporary.path()))
    {
        // It is only there where the directory was left.
        umount2((left.path() / "mounted").c_str(), MNT_DETACH);
    }
    EXPECT_EQ(bmcsim({"true"}), (Completed{0, "", ""}));
    expectNoTraces();
}

} // namespace
