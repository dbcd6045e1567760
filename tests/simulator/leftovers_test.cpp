// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "simulator_run.hpp"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>

// What a simulated BMC leaves whose processes were all killed at once, and who
// may remove it.

using namespace test;
using rights::missingForOtherUsers;
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

    /** Hands a file to the simulator's user. */
    static void giveToUser(const std::string& path)
    {
        if (geteuid() == 0 && isOfAUser())
        {
            EXPECT_EQ(chown(path.c_str(), 65534, 65534), 0);
        }
    }

    void makeDirectory(const std::string& name) const
    {
        const auto path = temporary.file("wexa-bmcsim." + name);
        std::filesystem::create_directory(path);
        giveToUser(path);
    }

    void writeOwn(const std::string& file, const std::string& text) const
    {
        const auto path = temporary.file("wexa-bmcsim." + file);
        writeBytes(path, text);
        giveToUser(path);
    }

    /** The paths below a folder, one a line; not the file of the names. */
    static std::string everythingIn(const std::string& folder)
    {
        return run({"sh", "-c",
                    "find " + folder + " -mindepth 1 ! -name names | sort"})
            .out;
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

TEST_P(RunLeaves, NothingOfStartsThatWereKilledAtTheirBeginning)
{
    for (const std::string name : {"empty1", "lock01"})
    {
        makeDirectory(name);
    }
    writeOwn("lock01/lock.new", "");
    EXPECT_EQ(bmcsim({"true"}), (Completed{0, "", ""}));
    expectNoTraces();
}

TEST_P(RunLeaves, StartsThatBeginUntouched)
{
    makeDirectory("lock01");
    writeOwn("lock01/lock.new", "");
    const auto file = temporary.file("wexa-bmcsim.lock01/lock.new");
    const auto lock = open(file.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(lock, LOCK_EX), 0);

    EXPECT_EQ(bmcsim({"true"}), (Completed{0, "", ""}));

    EXPECT_EQ(std::filesystem::exists(file), true);
    close(lock);
}

TEST_P(RunLeaves, CopiesOfItsDirectoryUntouched)
{
    const auto copy = temporary.file("wexa-bmcsim.copied");
    EXPECT_EQ(bmcsim({"sh", "-c", "cp -a $WEXA_BMCSIM_DIR " + copy}).status, 0);
    const auto copied = everythingIn(copy);
    EXPECT_THAT(copied, HasSubstr("/lock\n"));

    EXPECT_THAT(state().err, HasSubstr("no simulated BMC runs"));
    EXPECT_EQ(bmcsim({"true"}), (Completed{0, "", ""}));

    EXPECT_EQ(everythingIn(copy), copied);
}

TEST_P(RunLeaves, ForeignDirectoriesAndLinksUntouched)
{
    const TemporaryDirectory target;
    writeBytes(target.file("lock"), "text");
    std::filesystem::create_directory_symlink(
        target.path(), temporary.file("wexa-bmcsim.linked"));
    for (const std::string name : {"other1", "nobody", "locked", "longername"})
    {
        makeDirectory(name);
    }
    writeOwn("other1/lock", "Something else.\n");
    std::filesystem::create_symlink(target.file("lock"),
                                    temporary.file("wexa-bmcsim.locked/lock"));
    if (missingForOtherUsers().empty())
    {
        ASSERT_EQ(
            chown(temporary.file("wexa-bmcsim.nobody").c_str(), 65533, 65533),
            0);
    }
    else
    {
        std::filesystem::remove(temporary.file("wexa-bmcsim.nobody"));
    }
    const auto foreign = everythingIn(temporary.path());

    EXPECT_EQ(bmcsim({"true"}), (Completed{0, "", ""}));

    EXPECT_EQ(everythingIn(temporary.path()), foreign);
    EXPECT_EQ(std::filesystem::exists(target.file("lock")), true);
    EXPECT_THAT(state().err, HasSubstr("no simulated BMC runs"));
}

TEST_P(RunLeaves, NothingOfDirectoriesThatCannotBeWritten)
{
    const TemporaryDirectory target;
    std::filesystem::permissions(target.path(),
                                 std::filesystem::perms::owner_all);
    EXPECT_EQ(
        bmcsim({"sh", "-c",
                "cd $WEXA_BMCSIM_DIR && mkdir -p read/closed search/in && "
                "touch read/closed/file search/in/file && "
                "ln -s " +
                    target.path().string() +
                    " read/link && chmod 000 read/closed search/in && "
                    "chmod 555 read && chmod 111 search && chmod 000 ."}),
        (Completed{0, "", ""}));
    expectNoTraces();
    EXPECT_EQ(std::filesystem::status(target.path()).permissions(),
              std::filesystem::perms::owner_all);
}

TEST_P(RunLeaves, WhatIsMountedInItsDirectory)
{
    SKIP_WITHOUT_MOUNTS();
    const TemporaryDirectory mounted;
    // Every user may remove the file; the clean-up must leave it.
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

/** Its systemd, whose control group only root with CAP_SYS_ADMIN removes. */
class RunLeavesItsControlGroup : public RunLeaves
{};

INSTANTIATE_TEST_SUITE_P(Conditions, RunLeavesItsControlGroup,
                         testing::Values(Condition{"Systemd", "systemd"}),
                         nameOf);

TEST_P(RunLeavesItsControlGroup, ToTheStartThatCanRemoveIt)
{
    const auto left = killedAtOnce();
    auto line = asDockersRoot;
    const auto words = running({"true"});
    line.insert(line.end(), words.begin(), words.end());
    *std::find(line.begin(), line.end(), "systemd") = "builtin";
    EXPECT_EQ(run(line, environment()), (Completed{0, "", ""}));
    EXPECT_EQ(everythingIn(left), left + "/control-group\n" + left + "/lock\n");

    EXPECT_EQ(bmcsim({"true"}), (Completed{0, "", ""}));
    expectNoTraces();
}

} // namespace
