// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/call_gate.hpp"
#include "schema.hpp"
#include "tool_test.hpp"

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <unistd.h>

#include <filesystem>

// A signal may come at any moment. The tool answers in words and in JSON; a
// flash that was started goes on.

using namespace test;

namespace
{

class Interruption : public ToolTest
{
  protected:
    std::vector<std::string>
    tool(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> command{fromEnvironment("WEXA_FWMGR")};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return command;
    }

    std::vector<std::string> update() const
    {
        return tool({"update", "bmc", image});
    }

    void expectTheFlashToGoOn() const
    {
        bmc.awaitFlashed("bmc", bytesOf(image));
    }

    /** What the tool says where the flash was started. */
    std::string mayRun() const
    {
        return failureText(image + ": interrupted; the flash may still run",
                           {"",
                            {},
                            "",
                            "do not cut the power; see systemctl --user "
                            "status '" +
                                flashUnit("bmc", image) + "'"});
    }

    /** What it says where the verb ended for the signal. */
    static std::string beforeItEnded(const std::string& signal)
    {
        return failureText(
            "interrupted by " + signal + " before it ended",
            {"",
             {},
             "",
             "what was asked of a service may still take effect; run it "
             "again"});
    }

    std::string image = images.bmc("1");
};

struct Signal
{
    int number;
    std::string name;
};

class InterruptionBy :
    public Interruption,
    public testing::WithParamInterface<Signal>
{};

TEST_P(InterruptionBy, ASignalLeavesTheFlashAndSaysSo)
{
    bmc.set("flash-time", "2000");
    Process process(update(), bmc.environment());
    bmc.awaitFlash("bmc");
    process.signal(GetParam().number);
    EXPECT_EQ(process.wait(),
              (Completed{128 + GetParam().number, "",
                         "flashing " + image + "\n" + mayRun()}));
    expectTheFlashToGoOn();
}

TEST_P(InterruptionBy, ASignalEndsACallOfAnyVerb)
{
    struct Verb
    {
        std::vector<std::string> arguments;
        std::string service;
        std::string member;
    };

    for (const auto& [arguments, service, member] :
         {Verb{{"verify", "bmc", image}, "security", "verifyBmc"},
          Verb{{"upload", "bmc", image}, "security", "verifyBmc"},
          Verb{{"update", "bmc", image}, "security", "verifyBmc"},
          Verb{{"components"}, "cpld", "bindedDevices"},
          Verb{{"doctor", "cpld"}, "cpld", "Introspect"},
          Verb{{"monitor"}, "manager", "Subscribe"}})
    {
        bmc.set(service, "silent");
        CallGate gate(bmc.busAddress());
        Process process(tool(arguments), bmc.environment());
        gate.awaitCall(member);
        process.signal(GetParam().number);
        const auto done = process.wait();
        if (arguments[0] == "monitor")
        {
            // A signal is its normal end.
            EXPECT_EQ(done.status, 0);
        }
        else
        {
            EXPECT_EQ(done.status, 128 + GetParam().number) << arguments[0];
            EXPECT_EQ(done.err, beforeItEnded(GetParam().name)) << arguments[0];
        }
        bmc.set(service, "normal");
    }
}

INSTANTIATE_TEST_SUITE_P(Signals, InterruptionBy,
                         testing::Values(Signal{SIGINT, "SIGINT"},
                                         Signal{SIGTERM, "SIGTERM"},
                                         Signal{SIGHUP, "SIGHUP"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(Interruption, WhileTheStartIsPendingSaysThatTheFlashMayRun)
{
    bmc.set("manager", "slow");
    CallGate gate(bmc.busAddress());
    Process process(update(), bmc.environment());
    gate.awaitCall("StartUnit");
    process.signal(SIGINT);
    const auto done = process.wait();
    EXPECT_EQ(done.status, 128 + SIGINT);
    EXPECT_THAT(done.err, testing::EndsWith(mayRun()));
    expectTheFlashToGoOn();
}

TEST_F(Interruption, BeforeTheStartStartsNothing)
{
    bmc.set("manager", "slow");
    CallGate gate(bmc.busAddress());
    Process process(update(), bmc.environment());
    // The last that it asks before the start.
    gate.awaitCall("RefUnit");
    process.signal(SIGINT);
    EXPECT_EQ(process.wait(),
              (Completed{128 + SIGINT, "", beforeItEnded("SIGINT")}));
    EXPECT_TRUE(std::filesystem::is_empty(bmc.directory() + "/flash"));
}

TEST_F(Interruption, AtTheAnswerToTheStartSaysThatTheFlashMayRun)
{
    bmc.set("flash-time", "2000");
    CallGate gate(bmc.busAddress());
    Process process(update(), bmc.environment());
    gate.awaitCall("StartUnit");
    // Stopped until both are there, it finds them at once.
    process.signal(SIGSTOP);
    gate.awaitAnswer();
    process.signal(SIGINT);
    process.signal(SIGCONT);
    const auto done = process.wait();
    EXPECT_EQ(done.status, 128 + SIGINT);
    EXPECT_THAT(done.err, testing::EndsWith(mayRun()));
    expectTheFlashToGoOn();
}

TEST_F(Interruption, AtTheFirstCallStartsNothing)
{
    CallGate gate(bmc.busAddress());
    Process process(update(), bmc.environment());
    gate.awaitCall("Hello");
    // It does nothing else before the signal is there.
    process.signal(SIGSTOP);
    process.signal(SIGINT);
    process.signal(SIGCONT);
    EXPECT_EQ(process.wait(),
              (Completed{128 + SIGINT, "", beforeItEnded("SIGINT")}));
    EXPECT_TRUE(std::filesystem::is_empty(bmc.directory() + "/flash"));
}

TEST_F(Interruption, IsToldAsJson)
{
    bmc.set("flash-time", "2000");
    auto command = update();
    command.emplace_back("--json");
    Process process(command, bmc.environment());
    bmc.awaitFlash("bmc");
    process.signal(SIGINT);
    const auto done = process.wait();
    EXPECT_EQ(done.status, 128 + SIGINT);
    EXPECT_EQ(done.err, "");
    EXPECT_EQ(violationsIn(done.out), "");
    EXPECT_EQ(nlohmann::json::parse(done.out)["outcome"], "interrupted");
    expectTheFlashToGoOn();
}

TEST_F(Interruption, OfACallIsToldAsJson)
{
    bmc.set("security", "silent");
    CallGate gate(bmc.busAddress());
    Process process(tool({"verify", "bmc", image, "--json"}),
                    bmc.environment());
    gate.awaitCall("verifyBmc");
    process.signal(SIGTERM);
    const auto done = process.wait();
    EXPECT_EQ(done.status, 128 + SIGTERM);
    EXPECT_EQ(done.err, "");
    EXPECT_EQ(violationsIn(done.out), "");
    EXPECT_EQ(nlohmann::json::parse(done.out)["outcome"], "interrupted");
}

/** A pipe that holds no more than it has to, and is full. */
class FullPipe
{
  public:
    FullPipe()
    {
        check(pipe2(ends, O_CLOEXEC), "pipe2");
        const auto size = fcntl(ends[1], F_SETPIPE_SZ, 4096);
        const std::string filling(static_cast<std::size_t>(size), '.');
        check(static_cast<int>(write(ends[1], filling.data(), filling.size())),
              "write");
        filled = filling.size();
    }

    ~FullPipe()
    {
        close(ends[0]);
        close(ends[1]);
    }

    FullPipe(const FullPipe&) = delete;
    FullPipe& operator=(const FullPipe&) = delete;

    /** As a path for a shell of this process's. */
    std::string path() const
    {
        return "/proc/" + std::to_string(getpid()) + "/fd/" +
               std::to_string(ends[1]);
    }

    /** All that comes behind the filling until the last writer has ended. */
    std::string rest()
    {
        close(ends[1]);
        ends[1] = -1;
        std::string all;
        std::string part(4096, '\0');
        for (ssize_t got = 0;
             (got = read(ends[0], part.data(), part.size())) > 0;)
        {
            all.append(part, 0, static_cast<std::size_t>(got));
        }
        return all.substr(filled);
    }

  private:
    int ends[2] = {-1, -1};
    std::size_t filled = 0;
};

/** Waits until a process waits for room in a pipe. */
void awaitBlockedWrite(const Process& process)
{
    const auto place = "/proc/" + std::to_string(process.id()) + "/wchan";
    awaitTrue("a blocked write", [&] {
        return bytesOf(place).find("pipe_write") != std::string::npos;
    });
}

TEST_F(Interruption, WhileItPrintsLeavesTheOutputWhole)
{
    FullPipe pipe;
    const auto command = "exec " + fromEnvironment("WEXA_FWMGR") +
                         " components --json >" + pipe.path();
    Process process({"sh", "-c", command}, bmc.environment());
    awaitBlockedWrite(process);
    process.signal(SIGINT);
    const auto value = nlohmann::json::parse(pipe.rest());
    EXPECT_EQ(value["outcome"], "success");
    EXPECT_EQ(process.wait().status, 0);
}

TEST_F(Interruption, ThatIsRepeatedEndsAToolThatCannotPrint)
{
    const FullPipe pipe;
    const auto command = "exec " + fromEnvironment("WEXA_FWMGR") +
                         " components --json >" + pipe.path();
    Process process({"sh", "-c", command}, bmc.environment());
    awaitBlockedWrite(process);
    awaitTrue("its end", [&] {
        process.signal(SIGINT);
        return hasEnded(process);
    });
    EXPECT_EQ(process.wait().status, 128 + SIGINT);
}

TEST_F(Interruption, ByASignalThatIsIgnoredChangesNothing)
{
    bmc.set("flash-time", "1000");
    auto command = update();
    command.insert(command.begin(), "nohup");
    Process process(command, bmc.environment());
    bmc.awaitFlash("bmc");
    process.signal(SIGHUP);
    EXPECT_EQ(process.wait().status, 0);
}

TEST_F(Interruption, OfATerminalThatIsClosedEndsTheToolAndNotTheFlash)
{
    bmc.set("flash-time", "2000");
    const auto command = fromEnvironment("WEXA_FWMGR") + " update bmc " + image;
    {
        Process terminal({"script", "-q", "-e", "-c", command, "/dev/null"},
                         bmc.environment());
        bmc.awaitFlash("bmc");
        terminal.signal(SIGKILL);
        terminal.wait();
    }
    expectTheFlashToGoOn();
    EXPECT_EQ(run({"pgrep", "-f", command}).status, 1);
}

TEST_F(Interruption, ATerminalShowsTheTimePass)
{
    bmc.set("flash-time", "2000");
    const auto done = bmc.run(
        {"script", "-q", "-e", "-c",
         fromEnvironment("WEXA_FWMGR") + " update bmc " + image, "/dev/null"});
    EXPECT_EQ(done.status, 0);
    EXPECT_THAT(done.out,
                testing::MatchesRegex("flashing " + image + "\r" + "flashing " +
                                      image + ", 1 s\r.*\r\x1b\\[K" + image +
                                      ": flashed in [0-9]+\\.[0-9] s\r\n"));
}

TEST_F(Interruption, NoWaitReturnsAtOnceAndLeavesTheFlashRunning)
{
    const auto done = fwmgr({"update", "bmc", image, "--no-wait"});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    EXPECT_THAT(done.out,
                testing::StartsWith(image + ": the flash is started, as obmc"));
    expectTheFlashToGoOn();
}

} // namespace
