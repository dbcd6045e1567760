// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/call_gate.hpp"
#include "tool_test.hpp"

#include <signal.h>

// Where systemd does not answer the start of a flash, the flash may run: the
// tool asks the unit, and says so where it cannot.

using namespace test;

namespace
{

/** A kind of firmware, and the manager of the flash units. */
struct Row
{
    std::string kind;
    std::string manager;
};

class UnansweredStart : public testing::TestWithParam<Row>
{
  protected:
    void SetUp() override
    {
        SKIP_WITHOUT_MANAGER(GetParam().manager);
    }

    /** The tool, which waits so long for an answer that it names no limit of
     *  its own for.
     */
    Process update(const std::string& callTimeout) const
    {
        std::vector<std::string> command{"env",
                                         "SYSTEMD_BUS_TIMEOUT=" + callTimeout,
                                         fromEnvironment("WEXA_FWMGR"),
                                         "update",
                                         kind,
                                         image};
        if (kind == "cpld")
        {
            command.insert(command.end(), {"--component", "MB_CPLD"});
        }
        return {command, bmc.environment()};
    }

    std::string partition() const
    {
        return kind == "cpld" ? "cpld-MB_CPLD" : kind;
    }

    const std::string kind = GetParam().kind;
    Simulation bmc{{"--manager", rights::managerOr(GetParam().manager)}};
    Images images;
    std::string image = images.make(
        "image",
        kind == "bmc"
            ? std::vector<std::string>{"--kind", kind, "--version", "1"}
            : std::vector<std::string>{"--kind", kind, "--version", "1",
                                       "--board", "1"});
};

TEST_P(UnansweredStart, IsWaitedForWhereTheUnitRuns)
{
    bmc.set("manager", "slow");
    const auto done = update("1s").wait();
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_TRUE(bmc.flash(partition()) == bytesOf(image));
}

TEST_P(UnansweredStart, MayStillRunWhereSystemdDoesNotAnswer)
{
    CallGate gate(bmc.busAddress());
    bmc.set("manager", "slow");
    auto tool = update("1s");
    // The last call before the start.
    gate.awaitCall("RefUnit");
    tool.signal(SIGSTOP);
    bmc.set("manager", "silent");
    tool.signal(SIGCONT);

    const auto done = tool.wait();
    const auto unit = flashUnit(kind, image, kind == "cpld" ? "MB_CPLD" : "");
    EXPECT_EQ(done.status, mayStillRun);
    EXPECT_EQ(
        done.err,
        failureText(
            image + ": may be flashing: systemd was asked to start it "
                    "and does not answer",
            {"starting the flash unit",
             {},
             "org.freedesktop.DBus.Error.Timeout",
             "do not cut the power; see systemctl --user status '" + unit + "'",
             "StartUnit of org.freedesktop.systemd1: not answered "
             "within 1 s; it may still take effect"}));
}

INSTANTIATE_TEST_SUITE_P(
    Managers, UnansweredStart,
    testing::Values(Row{"bmc", "systemd"}, Row{"bios", "systemd"},
                    Row{"cpld", "systemd"}, Row{"bmc", "builtin"}),
    [](const auto& row) { return row.param.kind + '_' + row.param.manager; });

} // namespace
