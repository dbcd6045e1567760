// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/simulation.hpp"
#include "../support/temporary_directory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

// `wexa-bmcsim state` and `wexa-bmcsim set`.

using namespace test;

namespace
{

class State : public testing::Test
{
  protected:
    static void askToVerify(const Simulation& bmc, const std::string& path)
    {
        bmc.call({"xyz.openbmc_project.SecurityManager",
                  "/xyz/openbmc_project/security",
                  "xyz.openbmc_project.security.SecurityManager", "verifyBmc",
                  "s", path});
    }

    static Process started(const std::string& environment)
    {
        return Process({fromEnvironment("WEXA_BMCSIM"), "run", "--manager",
                        "builtin", "--", "sh", "-c", "echo up; exec sleep 60"},
                       {environment});
    }

    TemporaryDirectory temporary;
    Simulation bmc{{"--manager", "builtin"}};
};

TEST_F(State, TellsHowServicesAreToBehaveFromTheStart)
{
    const Simulation other({"--manager", "builtin", "--set", "security=refuse",
                            "--set", "fwinfo=absent"});

    const auto state = other.run({"wexa-bmcsim", "state"});

    EXPECT_EQ(
        state,
        (Completed{0,
                   "directory            " + other.directory() +
                       "\n"
                       "manager              builtin, normal\n"
                       "cpld                 normal\n"
                       "  FAN_CPLD           0.9-rc1\n"
                       "  MB_CPLD            1.0.3\n"
                       "  SCM_CPLD           2.11\n"
                       "  cpld-bound         "
                       "MB_CPLD,SCM_CPLD,FAN_CPLD\n"
                       "  cpld-device        normal\n"
                       "  cpld-registry      normal\n"
                       "  cpld-version       normal\n"
                       "fwinfo               absent\n"
                       "  fwinfo-offers      "
                       "stagingBMC,stagingBIOS,stagingCapsuleMCU\n"
                       "  stagingBIOS\n"
                       "  stagingBMC\n"
                       "  stagingCapsuleMCU\n"
                       "host                 normal\n"
                       "  board-id           1\n"
                       "security             refuse\n"
                       "  security-offers    "
                       "verifyBmc,verifyBios,verifyCapsule\n"
                       "settings             normal\n"
                       "  apply-time         "
                       "xyz.openbmc_project.Software.ApplyTime."
                       "RequestedApplyTimes.Immediate\n"
                       "flash                normal, units honest, 300 ms, "
                       "given up after 90000 ms\n",
                   ""}));
}

TEST_F(State, LeavesOutWhatIsNoFileAmongThePartitions)
{
    const auto flash = bmc.directory() + "/flash/";
    std::filesystem::create_directory(flash + "folder");
    std::filesystem::create_symlink("loop", flash + "loop");
    EXPECT_EQ(bmc.state()["flash"]["partitions"], nlohmann::json::object());
}

TEST_F(State, TellsWhatServicesWereAsked)
{
    const Simulation other({"--manager", "builtin"});
    askToVerify(other, "/");

    EXPECT_EQ(other.run({"wexa-bmcsim", "state", "--json"}),
              (Completed{0,
                         R"({
  "directory": ")" + other.directory() +
                             R"(",
  "flash": {
    "behaviour": "normal",
    "partitions": {},
    "time-ms": 300,
    "timeout-ms": 90000,
    "unit": "honest"
  },
  "manager": {
    "behaviour": "normal",
    "kind": "builtin"
  },
  "services": {
    "cpld": {
      "behaviour": "normal",
      "calls": {},
      "last": {},
      "values": {
        "FAN_CPLD": "0.9-rc1",
        "MB_CPLD": "1.0.3",
        "SCM_CPLD": "2.11",
        "cpld-bound": "MB_CPLD,SCM_CPLD,FAN_CPLD",
        "cpld-device": "normal",
        "cpld-registry": "normal",
        "cpld-version": "normal"
      }
    },
    "fwinfo": {
      "behaviour": "normal",
      "calls": {},
      "last": {},
      "values": {
        "fwinfo-offers": "stagingBMC,stagingBIOS,stagingCapsuleMCU",
        "stagingBIOS": "",
        "stagingBMC": "",
        "stagingCapsuleMCU": ""
      }
    },
    "host": {
      "behaviour": "normal",
      "calls": {},
      "last": {},
      "values": {
        "board-id": "1"
      }
    },
    "security": {
      "behaviour": "normal",
      "calls": {
        "verifyBmc": 1
      },
      "last": {
        "verifyBmc": "/"
      },
      "values": {
        "security-offers": "verifyBmc,verifyBios,verifyCapsule"
      }
    },
    "settings": {
      "behaviour": "normal",
      "calls": {},
      "last": {},
      "values": {
        "apply-time": "xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes.Immediate"
      }
    }
  }
}
)",
                         ""}));
}

TEST_F(State, ShowsWhatAServiceWasAskedLast)
{
    askToVerify(bmc, "/tmp/one");
    askToVerify(bmc, "/tmp/two");
    EXPECT_THAT(bmc.run({"wexa-bmcsim", "state"}).out,
                testing::HasSubstr("\nsecurity             normal; calls: "
                                   "verifyBmc 2 (last: /tmp/two)\n"));
}

TEST_F(State, ShowsTextsOfOthersPlain)
{
    askToVerify(bmc, "/\x1b[2J\nforged\xe2\x80\xae");
    EXPECT_THAT(bmc.run({"wexa-bmcsim", "state"}).out,
                testing::HasSubstr(
                    "\nsecurity             normal; calls: verifyBmc 1 (last: "
                    "/\\x1b[2J\\x0aforged\\u202e)\n"));

    const auto json = bmc.run({"wexa-bmcsim", "state", "--json"}).out;
    EXPECT_THAT(json, testing::HasSubstr("\"verifyBmc\": "
                                         "\"/\\u001b[2J\\nforged\\u202e\""));

    EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "security", "\x1b\nforged"}),
              (Completed{1, "",
                         "wexa-bmcsim: no behaviour '\\x1b\\x0aforged'; there "
                         "are normal, absent, refuse, error, wrong-type, "
                         "silent and slow\n"}));
    EXPECT_EQ(bmc.run({"wexa-bmcsim", "state", "--dir", "/\x1b\nforged"}),
              (Completed{1, "",
                         "wexa-bmcsim: no simulated BMC runs in "
                         "/\\x1b\\x0aforged\n"}));
}

TEST_F(State, IsToldWhereAFileInItsFlashHasANameThatIsNotUtf8)
{
    writeBytes(bmc.directory() + "/flash/\xff", "no image");
    EXPECT_THAT(bmc.run({"wexa-bmcsim", "state"}).out,
                testing::EndsWith("\n  \xef\xbf\xbd                  8 bytes, "
                                  "no whole image\n"));
}

TEST_F(State, IsShownFromAnotherTerminalWhereOneSimulatedBmcRuns)
{
    const auto elsewhere = "TMPDIR=" + temporary.path().string();
    const auto state = [&] {
        return run({fromEnvironment("WEXA_BMCSIM"), "state"}, {elsewhere});
    };
    EXPECT_EQ(state(),
              (Completed{1, "",
                         "wexa-bmcsim: no simulated BMC runs; start one with "
                         "wexa-bmcsim run -- COMMAND\n"}));

    Process first = started(elsewhere);
    first.awaitOutput("up\n");
    EXPECT_EQ(state().status, 0);

    Process second = started(elsewhere);
    second.awaitOutput("up\n");
    const auto several = state();
    EXPECT_EQ(several.status, 1);
    EXPECT_THAT(several.err,
                testing::MatchesRegex(
                    "wexa-bmcsim: several simulated BMCs run; name one with "
                    "--dir:\n  .*/wexa-bmcsim\\.......\n"
                    "  .*/wexa-bmcsim\\.......\n"));
}

TEST_F(State, RefusesUnknownSettingsAndValues)
{
    EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "security", "odd"}),
              (Completed{1, "",
                         "wexa-bmcsim: no behaviour 'odd'; there are normal, "
                         "absent, refuse, error, wrong-type, silent and "
                         "slow\n"}));
    EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "flash", "odd"}),
              (Completed{1, "",
                         "wexa-bmcsim: no flash behaviour 'odd'; there are "
                         "normal, fail, corrupt, crash and hang\n"}));
    EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "flash-time", "-1"}),
              (Completed{1, "",
                         "wexa-bmcsim: '-1' is no number of milliseconds "
                         "from 1 to 3600000\n"}));
    EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "flash-time", "soon"}),
              (Completed{1, "",
                         "wexa-bmcsim: 'soon' is no number of milliseconds "
                         "from 1 to 3600000\n"}));
    for (const auto* value : {"-1", "65536", "", "7x", " 7"})
    {
        EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "board-id", value}),
                  (Completed{1, "",
                             "wexa-bmcsim: '" + std::string(value) +
                                 "' is no board identifier from 0 to "
                                 "65535\n"}));
    }
    EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "flash-colour", "red"}),
              (Completed{1, "",
                         "wexa-bmcsim: there is no 'flash-colour' to set; of "
                         "the flash there are flash, flash-unit, "
                         "flash-time and flash-timeout\n"}));
}

} // namespace
