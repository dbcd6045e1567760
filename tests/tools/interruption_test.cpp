// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "schema.hpp"
#include "tool_test.hpp"

#include <nlohmann/json.hpp>
#include <signal.h>

// Whoever waits for a flash may stop to wait; the flash goes on.

using namespace test;

namespace
{

class Interruption : public ToolTest
{
  protected:
    Interruption()
    {
        bmc.set("flash-time", "2000");
    }

    std::vector<std::string> update() const
    {
        return {fromEnvironment("WEXA_FWMGR"), "update", "bmc", image};
    }

    void expectTheFlashToGoOn() const
    {
        bmc.awaitFlashed("bmc", bytesOf(image));
    }

    std::string image = images.bmc("1");
};

class InterruptionBy :
    public Interruption,
    public testing::WithParamInterface<int>
{};

TEST_P(InterruptionBy, ASignalLeavesTheFlashAndSaysSo)
{
    auto path = image;
    std::ranges::replace(path, '/', '-');
    const auto text =
        "flashing " + image + "\n" +
        failureText(
            image + ": nobody waits for the flash any longer, which may still "
                    "run",
            {"",
             {},
             "",
             R"(see systemctl status 'obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)" +
                 path + ".service'"});
    Process tool(update(), bmc.environment());
    bmc.awaitFlash("bmc");
    tool.signal(GetParam());
    EXPECT_EQ(tool.wait(), (Completed{128 + GetParam(), "", text}));
    expectTheFlashToGoOn();
}

INSTANTIATE_TEST_SUITE_P(Signals, InterruptionBy,
                         testing::Values(SIGINT, SIGTERM, SIGHUP));

TEST_F(Interruption, IsToldAsJson)
{
    auto command = update();
    command.emplace_back("--json");
    Process tool(command, bmc.environment());
    bmc.awaitFlash("bmc");
    tool.signal(SIGINT);
    const auto done = tool.wait();
    EXPECT_EQ(done.status, 128 + SIGINT);
    EXPECT_EQ(done.err, "");
    EXPECT_EQ(violationsIn(done.out), "");
    EXPECT_EQ(nlohmann::json::parse(done.out)["outcome"], "interrupted");
    expectTheFlashToGoOn();
}

TEST_F(Interruption, ByASignalThatIsIgnoredIsNone)
{
    auto command = update();
    command.insert(command.begin(), "nohup");
    Process tool(command, bmc.environment());
    bmc.awaitFlash("bmc");
    tool.signal(SIGHUP);
    EXPECT_EQ(tool.wait().status, 0);
}

TEST_F(Interruption, OfATerminalThatIsClosedEndsTheToolAndNotTheFlash)
{
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

TEST_F(Interruption, IsNeededByNobodyWhoSeesTheTimePassOnATerminal)
{
    const auto done = bmc.run(
        {"script", "-q", "-e", "-c",
         fromEnvironment("WEXA_FWMGR") + " update bmc " + image, "/dev/null"});
    EXPECT_EQ(done.status, 0);
    EXPECT_THAT(done.out,
                testing::MatchesRegex("flashing " + image + "\r" + "flashing " +
                                      image + ", 1 s\r.*\r\x1b\\[K" + image +
                                      ": flashed in 2\\.[0-9] s\r\n"));
}

TEST_F(Interruption, OfNobodyWhereNobodyWaits)
{
    const auto done = fwmgr({"update", "bmc", image, "--no-wait"});
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.err, "");
    EXPECT_THAT(done.out,
                testing::StartsWith(image + ": the flash is started, as obmc"));
    expectTheFlashToGoOn();
}

} // namespace
