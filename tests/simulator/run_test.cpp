// SPDX-License-Identifier: Apache-2.0
#include "simulator_run.hpp"

#include <gmock/gmock.h>
#include <signal.h>

#include <algorithm>
#include <iterator>

// A simulated BMC ends with its command and leaves nothing behind, however it
// ends.

using namespace test;

namespace
{

INSTANTIATE_TEST_SUITE_P(Conditions, Run, inAllConditions(), nameOf);

TEST_P(Run, EndsWithTheCommandsExitStatus)
{
    EXPECT_EQ(bmcsim({"sh", "-c", "echo out; echo err >&2; exit 42"}),
              (Completed{42, "out\n", "err\n"}));
    EXPECT_EQ(bmcsim({"true"}), (Completed{0, "", ""}));
    expectNoTraces();
}

TEST_P(Run, SaysWhichSignalKilledTheCommand)
{
    EXPECT_EQ(bmcsim({"sh", "-c", "kill -TERM $$"}).status, 128 + SIGTERM);
    expectNoTraces();
}

TEST_P(Run, SaysThatTheCommandCannotBeRun)
{
    const auto runs = [this](const std::string& command) {
        return run(running({command}), environment());
    };
    EXPECT_EQ(runs("/nonexistent"),
              (Completed{127, "",
                         "wexa-bmcsim: cannot run /nonexistent: No such file "
                         "or directory\n"}));
    EXPECT_EQ(
        runs("/"),
        (Completed{126, "", "wexa-bmcsim: cannot run /: Permission denied\n"}));
    expectNoTraces();
}

TEST_P(Run, GivesTheCommandTheAddressesOfItsBus)
{
    EXPECT_EQ(bmcsim({"sh", "-c",
                      "test $DBUS_SYSTEM_BUS_ADDRESS = "
                      "unix:path=$WEXA_BMCSIM_DIR/run/bus && test "
                      "$DBUS_SESSION_BUS_ADDRESS = $DBUS_SYSTEM_BUS_ADDRESS "
                      "&& busctl status org.freedesktop.systemd1 >/dev/null"})
                  .status,
              0);
}

TEST_P(Run, LeavesTheHostsSystemdAlone)
{
    // What systemd would make; other programs come and go on the machine.
    const auto listing =
        "ls -A /run/systemd 2>&1; for all in $(findmnt -nro TARGET -t "
        "cgroup2,cgroup); do ls -d $all/*.scope $all/*.slice 2>&1; done";
    const auto before = run({"sh", "-c", listing});

    EXPECT_EQ(bmcsim({"sh", "-c", listing}).out, before.out);
    EXPECT_EQ(run({"sh", "-c", listing}).out, before.out);
}

/** Ends a simulated BMC by a signal to the simulator. */
class RunEnds : public Run
{
  protected:
    Completed endBy(int number, const std::string& command)
    {
        Process simulator(runningShell(command), environment());
        simulator.awaitOutput("up\n");
        EXPECT_NE(traces(), "");
        simulator.signal(number);
        return simulator.wait();
    }
};

INSTANTIATE_TEST_SUITE_P(Conditions, RunEnds, inAllConditions(), nameOf);

TEST_P(RunEnds, WithTheCommandThatGetsItsSignals)
{
    for (const auto number : {SIGINT, SIGTERM, SIGHUP})
    {
        EXPECT_EQ(endBy(number, "echo up; exec sleep 60").status, 128 + number);
        expectNoTraces();
    }
}

TEST_P(RunEnds, OnlyWhenTheCommandHasCleanedUp)
{
    EXPECT_EQ(endBy(SIGTERM, "trap 'echo cleaned; exit 5' TERM; echo up; "
                             "while :; do sleep 0.05; done"),
              (Completed{5, "up\ncleaned\n", ""}));
    expectNoTraces();
}

TEST_P(RunEnds, EvenWhereTheSimulatorIsKilled)
{
    EXPECT_EQ(endBy(SIGKILL, "echo up; exec sleep 60").status, 128 + SIGKILL);
    expectNoTraces();
}

TEST_P(RunEnds, EvenWhereItsBusAndThenTheSimulatorIsKilled)
{
    EXPECT_EQ(endBy(SIGKILL, "pkill -KILL -f $WEXA_BMCSIM_DIR/bus.conf; "
                             "sleep 0.2; echo up; exec sleep 60")
                  .status,
              128 + SIGKILL);
    expectNoTraces();
}

/** The children of a process that run this program, too. */
std::vector<std::string> simulatorsBelow(const std::string& parent)
{
    std::istringstream text(
        run({"pgrep", "-P", parent, "-x", "wexa-bmcsim"}).out);
    return {std::istream_iterator<std::string>(text), {}};
}

TEST_P(RunEnds, WhereItsKeeperIsKilled)
{
    Process simulator(runningShell("echo up; exec sleep 60"), environment());
    simulator.awaitOutput("up\n");
    const auto keeper = simulatorsBelow(std::to_string(simulator.id())).front();
    run({"kill", "-KILL", keeper});

    EXPECT_EQ(simulator.wait(),
              (Completed{3, "up\n",
                         "wexa-bmcsim: the simulated BMC ended too early\n"}));
    expectNoTraces();
}

TEST_P(RunEnds, WhereItsContainerIsKilled)
{
    Process simulator(runningShell("echo up; exec sleep 60"), environment());
    simulator.awaitOutput("up\n");
    const auto keeper = simulatorsBelow(std::to_string(simulator.id())).front();
    run({"kill", "-KILL", simulatorsBelow(keeper).front()});

    EXPECT_EQ(simulator.wait(),
              (Completed{3, "up\n",
                         "wexa-bmcsim: the simulated BMC ended too early\n"}));
    expectNoTraces();
}

TEST_P(RunEnds, WhereItsKeeperAndItsContainerAreKilled)
{
    Process simulator(runningShell("echo up; exec sleep 60"), environment());
    simulator.awaitOutput("up\n");
    const auto keeper = simulatorsBelow(std::to_string(simulator.id())).front();
    const auto container = simulatorsBelow(keeper).front();
    run({"kill", "-STOP", keeper, container});
    run({"kill", "-KILL", keeper, container});

    EXPECT_EQ(simulator.wait().status, 3);
    expectNoTraces();
}

/** A program that has put itself into the background, with a session of its
 *  own, and does not end when it is asked to.
 */
constexpr auto daemonise =
    "(setsid sh -c 'trap \"\" TERM HUP; echo; while :; do sleep 0.1; done' "
    "</dev/null 2>/dev/null &) | read -r line; ";

TEST_P(RunEnds, WithTheProgramsThatItsCommandPutIntoTheBackground)
{
    EXPECT_EQ(bmcsim({"sh", "-c", daemonise + std::string("exit 4")}),
              (Completed{4, "", ""}));
    EXPECT_EQ(processes(), std::set<pid_t>{});
    EXPECT_EQ(traces(), "");
}

TEST_P(RunEnds, WithThoseProgramsEvenWhereTheSimulatorIsKilled)
{
    EXPECT_EQ(endBy(SIGKILL, daemonise + std::string("echo up; exec sleep 60"))
                  .status,
              128 + SIGKILL);
    expectNoTraces();
}

TEST_P(RunEnds, OnlyWhenThoseProgramsHadTimeToCleanUp)
{
    EXPECT_EQ(bmcsim({"sh", "-c",
                      "(setsid sh -c 'trap \"echo cleaned; exit\" TERM; echo "
                      "ready >$0; while :; do sleep 0.01; done' "
                      "$WEXA_BMCSIM_DIR/ready &); until test -s "
                      "$WEXA_BMCSIM_DIR/ready; do sleep 0.01; done"}),
              (Completed{0, "cleaned\n", ""}));
    expectNoTraces();
}

TEST_P(RunEnds, ByItselfAlsoWithoutItsBus)
{
    EXPECT_EQ(bmcsim({"sh", "-c",
                      "pkill -KILL -f $WEXA_BMCSIM_DIR/bus.conf; sleep 0.2; "
                      "exit 9"})
                  .status,
              9);
    expectNoTraces();
}

TEST_P(RunEnds, ByItselfAlsoWithoutItsManager)
{
    EXPECT_EQ(bmcsim({"sh", "-c",
                      "grep -lzx XDG_RUNTIME_DIR=$WEXA_BMCSIM_DIR/manager "
                      "/proc/[0-9]*/environ 2>/dev/null | cut -d/ -f3 | "
                      "xargs -r kill -KILL; exit 9"})
                  .status,
              9);
    expectNoTraces();
}

/** Where the files lie that a process has open. */
std::set<std::string> filesOf(pid_t process)
{
    std::set<std::string> files;
    for (const auto& open : std::filesystem::directory_iterator(
             "/proc/" + std::to_string(process) + "/fd"))
    {
        std::error_code closed;
        files.insert(std::filesystem::read_symlink(open, closed));
    }
    return files;
}

TEST_P(Run, GivesDescriptorsToTheCommandAndToNoOther)
{
    const auto file = temporary.file("names");
    std::ofstream(file).close();
    std::filesystem::permissions(file, std::filesystem::perms::all);
    const auto withTheFile = [&](const std::vector<std::string>& words) {
        std::vector<std::string> line{"sh", "-c",
                                      "exec 9<" + file + "; exec \"$@\"", "sh"};
        line.insert(line.end(), words.begin(), words.end());
        return line;
    };
    const std::string list = "ls /proc/$$/fd; echo up; ";
    const auto without = run(withTheFile({"sh", "-c", list})).out;
    EXPECT_NE(without.find("9\n"), std::string::npos);

    Process simulator(withTheFile(runningShell(list + "exec sleep 60")),
                      environment());

    EXPECT_EQ(simulator.awaitOutput("up\n"), without);
    auto daemons = 0;
    for (const auto process : processes())
    {
        std::string name;
        std::getline(
            std::ifstream("/proc/" + std::to_string(process) + "/comm"), name);
        if (name == "dbus-daemon" || name == "systemd")
        {
            ++daemons;
            EXPECT_EQ(filesOf(process).contains(file), false) << name;
        }
    }
    EXPECT_EQ(daemons, GetParam().manager == "systemd" ? 2 : 1);
}

/** In a process namespace of its own, where it says which number the next
 *  process gets.
 */
TEST(RunWithoutItsBus, SignalsNoProcessThatHasTheNumberOfItsBus)
{
    SKIP_WITHOUT_MOUNTS();
    const TemporaryDirectory temporary;
    auto simulator = asDockersRoot;
    simulator.insert(simulator.end(),
                     {fromEnvironment("WEXA_BMCSIM"), "run", "--manager",
                      "builtin", "--", "sh", "-c", "read -r end <$TMPDIR/end"});
    std::vector<std::string> line{
        "unshare",
        "--pid",
        "--fork",
        "--mount-proc",
        "sh",
        "-c",
        "mkfifo $TMPDIR/end; \"$@\" & simulator=$!; "
        // The command opens the pipe when the simulated BMC is up.
        "exec 9>$TMPDIR/end; bus=$(pgrep -x dbus-daemon); "
        "kill -KILL $bus; while test -e /proc/$bus; do :; done; "
        "echo $((bus - 1)) >/proc/sys/kernel/ns_last_pid; "
        "sleep 60 & other=$!; echo $((other - bus)); "
        "echo end >&9; exec 9>&-; wait $simulator; "
        "kill -0 $other && echo lives",
        "sh"};
    line.insert(line.end(), simulator.begin(), simulator.end());
    EXPECT_EQ(run(line, {"TMPDIR=" + temporary.path().string()}),
              (Completed{0, "0\nlives\n", ""}));
}

} // namespace
