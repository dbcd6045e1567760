// SPDX-License-Identifier: Apache-2.0
#include "../support/rights.hpp"
#include "../support/simulation.hpp"
#include "bmcsim_program.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

// What a command finds inside a simulated BMC.

using namespace test;
using testing::HasSubstr;

namespace
{

class Inside : public testing::TestWithParam<const char*>
{
  protected:
    void SetUp() override
    {
        SKIP_WITHOUT_MANAGER(GetParam());
    }

    Simulation bmc{{"--manager", rights::managerOr(GetParam())}};
};

INSTANTIATE_TEST_SUITE_P(Managers, Inside,
                         testing::Values("systemd", "builtin"),
                         [](const auto& row) {
                             return std::string(row.param);
                         });

/** The lines of a text, without their order and without the name of the
 *  simulated BMC.
 */
std::set<std::string> linesOf(const std::string& text)
{
    std::set<std::string> lines;
    std::istringstream stream(std::regex_replace(
        text, std::regex("wexa-bmcsim\\.[A-Za-z0-9]{6}"), "BMC"));
    for (std::string line; std::getline(stream, line);)
    {
        lines.insert(line);
    }
    return lines;
}

TEST_P(Inside, IsTheEnvironmentThatTheTestsGiveTheirCommands)
{
    EXPECT_EQ(
        linesOf(bmc.run({"env"}).out),
        linesOf(runBmcsim({"run", "--manager", GetParam(), "--", "env"}).out));
}

TEST_P(Inside, SystemctlOfTheUserReachesTheSimulatedManager)
{
    const std::string unit =
        R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20-nonexistent.service)";
    EXPECT_EQ(bmc.run({"systemctl", "--user", "start", unit}).status, 1);

    const auto status = bmc.run({"systemctl", "--user", "status", unit});

    EXPECT_THAT(status.out, HasSubstr("Active: failed (Result: exit-code)"));
    EXPECT_THAT(status.out,
                HasSubstr("Loaded: loaded (" + bmc.directory() + "/units/"));
    EXPECT_EQ(status.err, "");
    EXPECT_THAT(
        bmc.run({"systemctl", "--user", "list-units", "--plain", "obmc*"}).out,
        HasSubstr(unit + " loaded failed failed Flash of bmc_rot2 update "
                         "/nonexistent\n"));
}

TEST_P(Inside, SystemctlOfTheUserStopsAFlash)
{
    const std::string unit =
        R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20-bin-sh.service)";
    bmc.set("flash", "hang");
    EXPECT_EQ(
        bmc.run({"systemctl", "--user", "start", "--no-block", unit}).status,
        0);
    bmc.awaitFlash("bmc");

    EXPECT_EQ(bmc.run({"systemctl", "--user", "stop", unit}),
              (Completed{0, "", ""}));
    EXPECT_THAT(bmc.run({"systemctl", "--user", "status", unit}).out,
                HasSubstr("Active: failed (Result: signal)"));
}

/** The bus, as users who do not own the simulated BMC find it. */
class OtherUsers : public testing::Test
{
  protected:
    void SetUp() override
    {
        SKIP_WITHOUT_OTHER_USERS();
    }

    Completed call() const
    {
        return run({"setpriv", "--reuid=65534", "--regid=65534",
                    "--clear-groups", "busctl", "--address=" + bmc.busAddress(),
                    "call", "com.WEXA.Host", "/com/WEXA/Host",
                    "org.freedesktop.DBus.Properties", "Get", "ss",
                    "com.WEXA.Host", "BoardId"});
    }

    Simulation bmc{{"--manager", "builtin"}};
};

TEST_F(OtherUsers, AreKeptOut)
{
    const auto refused = call();
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "");
    // How busctl goes on depends on its release.
    EXPECT_THAT(refused.err, testing::StartsWith("Failed to connect to "));
}

TEST_F(OtherUsers, ReachTheBusWhereItsOwnerOpensTheDirectory)
{
    using std::filesystem::perms;
    for (const auto* part : {"", "/run"})
    {
        std::filesystem::permissions(bmc.directory() + part,
                                     perms::owner_all | perms::others_exec);
    }
    EXPECT_EQ(call(), (Completed{0, "v q 1\n", ""}));
}

} // namespace
