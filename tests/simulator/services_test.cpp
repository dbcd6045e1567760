// SPDX-License-Identifier: Apache-2.0
#include "../support/images.hpp"
#include "../support/simulation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

// The services of the simulated platform, asked as any client asks them.

using namespace test;

namespace
{

class SimulatedService : public testing::Test
{
  protected:
    /** One simulated BMC serves all of these tests; each begins with all as
     *  it is from the start.
     */
    static void SetUpTestSuite()
    {
        bmc = std::make_unique<Simulation>(
            std::vector<std::string>{"--manager", "builtin"});
    }

    static void TearDownTestSuite()
    {
        bmc.reset();
    }

    void SetUp() override
    {
        bmc->set("security", "normal");
        bmc->set("fwinfo", "normal");
        bmc->set("host", "normal");
        bmc->set("settings", "normal");
    }

    static Completed board()
    {
        return bmc->call({"--timeout=1", "com.WEXA.Host", "/com/WEXA/Host",
                          "org.freedesktop.DBus.Properties", "Get", "ss",
                          "com.WEXA.Host", "BoardId"});
    }

    static Completed applyTime(const std::vector<std::string>& words)
    {
        std::vector<std::string> command{
            "--timeout=1", "xyz.openbmc_project.Settings",
            "/xyz/openbmc_project/software/apply_time",
            "org.freedesktop.DBus.Properties"};
        command.insert(command.end(), words.begin(), words.end());
        return bmc->call(command);
    }

    static Completed applyTime()
    {
        return applyTime(
            {"Get", "ss", applyTimeInterface, "RequestedApplyTime"});
    }

    static constexpr auto applyTimeInterface =
        "xyz.openbmc_project.Software.ApplyTime";

    static Completed security(const std::string& member,
                              const std::string& path)
    {
        return bmc->call({"--timeout=1", "xyz.openbmc_project.SecurityManager",
                          "/xyz/openbmc_project/security",
                          "xyz.openbmc_project.security.SecurityManager",
                          member, "s", path});
    }

    static Completed properties(const std::vector<std::string>& words)
    {
        std::vector<std::string> command{
            "--timeout=1", "xyz.openbmc_project.FwInfoManager",
            "/xyz/openbmc_project/fwinfo", "org.freedesktop.DBus.Properties"};
        command.insert(command.end(), words.begin(), words.end());
        return bmc->call(command);
    }

    static Completed set(const std::string& property, const std::string& type,
                         const std::string& value)
    {
        return properties({"Set", "ssv", interface, property, type, value});
    }

    static Completed get(const std::string& property)
    {
        return properties({"Get", "ss", interface, property});
    }

    static Completed failed(const std::string& text)
    {
        return {1, "", "Call failed: " + text + "\n"};
    }

    static constexpr auto interface =
        "xyz.openbmc_project.fwinfo.FwInfoManager";
    static const Completed yes;
    static const Completed no;

    static std::unique_ptr<Simulation> bmc;
    Images images;
};

std::unique_ptr<Simulation> SimulatedService::bmc;
const Completed SimulatedService::yes{0, "b true\n", ""};
const Completed SimulatedService::no{0, "b false\n", ""};

TEST_F(SimulatedService, JudgesAnImageByKindAndDigest)
{
    const auto bmcImage = images.bmc("1");
    const auto bios = images.make("bios", {"--kind", "bios", "--version", "1"});
    const auto capsule =
        images.make("capsule", {"--kind", "capsule", "--version", "1"});
    const auto bad = images.make(
        "bad", {"--kind", "bmc", "--version", "1", "--broken", "digest"});

    EXPECT_EQ(security("verifyBmc", bmcImage), yes);
    EXPECT_EQ(security("verifyBios", bios), yes);
    EXPECT_EQ(security("verifyCapsule", capsule), yes);
    EXPECT_EQ(security("verifyBmc", bios), no);
    EXPECT_EQ(security("verifyBios", capsule), no);
    EXPECT_EQ(security("verifyCapsule", bmcImage), no);
    EXPECT_EQ(security("verifyBmc", bad), no);
    EXPECT_EQ(security("verifyBmc", images.missing()), no);
}

TEST_F(SimulatedService, OfSecurityBehavesAsItIsTold)
{
    const auto image = images.bmc("1");

    bmc->set("security", "refuse");
    EXPECT_EQ(security("verifyBmc", image), no);
    bmc->set("security", "error");
    EXPECT_EQ(security("verifyBmc", image),
              failed("the simulated service was told to fail"));
    bmc->set("security", "wrong-type");
    EXPECT_EQ(security("verifyBmc", image),
              (Completed{0, "s \"authentic\"\n", ""}));
    bmc->set("security", "silent");
    EXPECT_EQ(security("verifyBmc", image), failed("Connection timed out"));
    bmc->set("security", "absent");
    EXPECT_EQ(security("verifyBmc", image),
              failed("The name xyz.openbmc_project.SecurityManager was not "
                     "provided by any .service files"));
    bmc->set("security", "normal");
    EXPECT_EQ(security("verifyBmc", image), yes);
}

TEST_F(SimulatedService, HoldsTheStagedVersions)
{
    for (const auto* property :
         {"stagingBMC", "stagingBIOS", "stagingCapsuleMCU"})
    {
        EXPECT_EQ(get(property), (Completed{0, "v s \"\"\n", ""}));
        EXPECT_EQ(set(property, "s", "1.2.3"), (Completed{0, "", ""}));
        EXPECT_EQ(get(property), (Completed{0, "v s \"1.2.3\"\n", ""}));
        EXPECT_EQ(set(property, "s", ""), (Completed{0, "", ""}));
    }
}

TEST_F(SimulatedService, RefusesUnknownPropertiesAndOtherTypes)
{
    EXPECT_EQ(set("stagingPSU", "s", "1"),
              failed("Unknown interface "
                     "xyz.openbmc_project.fwinfo.FwInfoManager or property "
                     "stagingPSU."));
    EXPECT_EQ(set("stagingBMC", "u", "1"),
              failed("Incorrect parameters for property 'stagingBMC', expected "
                     "'s', got 'u'."));
    EXPECT_EQ(get("stagingBMC"), (Completed{0, "v s \"\"\n", ""}));
}

TEST_F(SimulatedService, OfFirmwareInformationBehavesAsItIsTold)
{
    bmc->set("fwinfo", "refuse");
    EXPECT_EQ(set("stagingBMC", "s", "1"), failed("Access denied"));
    bmc->set("fwinfo", "error");
    EXPECT_EQ(set("stagingBMC", "s", "1"),
              failed("the simulated service was told to fail"));
    bmc->set("fwinfo", "wrong-type");
    EXPECT_EQ(get("stagingBMC"), (Completed{0, "v u 0\n", ""}));
    EXPECT_EQ(set("stagingBMC", "s", "1"),
              failed("Incorrect parameters for property 'stagingBMC', expected "
                     "'u', got 's'."));
    bmc->set("fwinfo", "silent");
    EXPECT_EQ(get("stagingBMC"), failed("Connection timed out"));
    bmc->set("fwinfo", "absent");
    EXPECT_EQ(get("stagingBMC"),
              failed("The name xyz.openbmc_project.FwInfoManager was not "
                     "provided by any .service files"));
    bmc->set("fwinfo", "normal");
    EXPECT_EQ(get("stagingBMC"), (Completed{0, "v s \"\"\n", ""}));
}

TEST_F(SimulatedService, TellsTheBoardThatItIsSetTo)
{
    EXPECT_EQ(board(), (Completed{0, "v q 1\n", ""}));
    bmc->set("board-id", "65535");
    EXPECT_EQ(board(), (Completed{0, "v q 65535\n", ""}));
    bmc->set("board-id", "1");
}

TEST_F(SimulatedService, OfTheHostBehavesAsItIsTold)
{
    bmc->set("host", "refuse");
    EXPECT_EQ(board(), failed("Access denied"));
    bmc->set("host", "error");
    EXPECT_EQ(board(), failed("the simulated service was told to fail"));
    bmc->set("host", "wrong-type");
    EXPECT_EQ(board(), (Completed{0, "v s \"1\"\n", ""}));
    bmc->set("host", "silent");
    EXPECT_EQ(board(), failed("Connection timed out"));
    bmc->set("host", "absent");
    EXPECT_EQ(board(), failed("The name com.WEXA.Host was not provided by any "
                              ".service files"));
}

TEST_F(SimulatedService, KeepsTheApplyTimeThatItIsTold)
{
    const std::string prefix =
        "xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes.";
    const auto holds = [](const std::string& value) {
        return Completed{0, "v s \"" + value + "\"\n", ""};
    };
    EXPECT_EQ(applyTime(), holds(prefix + "Immediate"));
    bmc->set("apply-time", "OnReset");
    EXPECT_EQ(applyTime(), holds(prefix + "OnReset"));
    bmc->set("apply-time", "some.Text");
    EXPECT_EQ(applyTime(), holds("some.Text"));
    EXPECT_EQ(applyTime({"Set", "ssv", applyTimeInterface, "RequestedApplyTime",
                         "s", prefix + "Immediate"}),
              (Completed{0, "", ""}));
    EXPECT_EQ(applyTime(), holds(prefix + "Immediate"));
}

TEST_F(SimulatedService, OfSettingsBehavesAsItIsTold)
{
    bmc->set("settings", "refuse");
    EXPECT_EQ(applyTime(), failed("Access denied"));
    bmc->set("settings", "error");
    EXPECT_EQ(applyTime(), failed("the simulated service was told to fail"));
    bmc->set("settings", "wrong-type");
    EXPECT_EQ(applyTime(), (Completed{0, "v u 0\n", ""}));
    bmc->set("settings", "silent");
    EXPECT_EQ(applyTime(), failed("Connection timed out"));
    bmc->set("settings", "absent");
    EXPECT_EQ(applyTime(),
              failed("The name xyz.openbmc_project.Settings was not provided "
                     "by any .service files"));
}

TEST_F(SimulatedService, CanBeToldHowToBehaveFromTheStart)
{
    const Simulation other({"--manager", "builtin", "--set", "security=refuse",
                            "--set", "fwinfo=absent"});

    const auto state = other.run({"wexa-bmcsim", "state"});

    EXPECT_EQ(state,
              (Completed{0,
                         "directory           " + other.directory() +
                             "\n"
                             "manager             builtin, normal\n"
                             "cpld                normal\n"
                             "  FAN_CPLD          0.9-rc1\n"
                             "  MB_CPLD           1.0.3\n"
                             "  SCM_CPLD          2.11\n"
                             "  cpld-bound        "
                             "MB_CPLD,SCM_CPLD,FAN_CPLD\n"
                             "  cpld-device       normal\n"
                             "  cpld-registry     normal\n"
                             "  cpld-version      normal\n"
                             "fwinfo              absent\n"
                             "  stagingBIOS       \n"
                             "  stagingBMC        \n"
                             "  stagingCapsuleMCU \n"
                             "host                normal\n"
                             "  board-id          1\n"
                             "security            refuse\n"
                             "settings            normal\n"
                             "  apply-time        "
                             "xyz.openbmc_project.Software.ApplyTime."
                             "RequestedApplyTimes.Immediate\n"
                             "flash               normal, 300 ms, given up "
                             "after 90000 ms\n",
                         ""}));
}

TEST_F(SimulatedService, IsShownWithWhatItWasAsked)
{
    const Simulation other({"--manager", "builtin"});
    other.call({"xyz.openbmc_project.SecurityManager",
                "/xyz/openbmc_project/security",
                "xyz.openbmc_project.security.SecurityManager", "verifyBmc",
                "s", "/"});

    EXPECT_EQ(other.run({"wexa-bmcsim", "state", "--json"}),
              (Completed{0,
                         R"({
  "directory": ")" + other.directory() +
                             R"(",
  "flash": {
    "behaviour": "normal",
    "partitions": {},
    "time-ms": 300,
    "timeout-ms": 90000
  },
  "manager": {
    "behaviour": "normal",
    "kind": "builtin"
  },
  "services": {
    "cpld": {
      "behaviour": "normal",
      "calls": {},
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
      "values": {
        "stagingBIOS": "",
        "stagingBMC": "",
        "stagingCapsuleMCU": ""
      }
    },
    "host": {
      "behaviour": "normal",
      "calls": {},
      "values": {
        "board-id": "1"
      }
    },
    "security": {
      "behaviour": "normal",
      "calls": {
        "verifyBmc": 1
      },
      "values": {}
    },
    "settings": {
      "behaviour": "normal",
      "calls": {},
      "values": {
        "apply-time": "xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes.Immediate"
      }
    }
  }
}
)",
                         ""}));
}

TEST_F(SimulatedService, RefusesABehaviourThatItDoesNotHave)
{
    EXPECT_EQ(bmc->run({"wexa-bmcsim", "set", "security", "odd"}),
              (Completed{1, "",
                         "wexa-bmcsim: no behaviour 'odd'; there are normal, "
                         "absent, refuse, error, wrong-type and silent\n"}));
    EXPECT_EQ(bmc->run({"wexa-bmcsim", "set", "flash", "odd"}),
              (Completed{1, "",
                         "wexa-bmcsim: no flash behaviour 'odd'; there are "
                         "normal, fail, corrupt, crash and hang\n"}));
    EXPECT_EQ(bmc->run({"wexa-bmcsim", "set", "flash-time", "-1"}),
              (Completed{1, "",
                         "wexa-bmcsim: '-1' is no number of milliseconds "
                         "from 1 to 3600000\n"}));
    EXPECT_EQ(bmc->run({"wexa-bmcsim", "set", "flash-time", "soon"}),
              (Completed{1, "",
                         "wexa-bmcsim: 'soon' is no number of milliseconds "
                         "from 1 to 3600000\n"}));
    for (const auto* value : {"-1", "65536", "", "7x", " 7"})
    {
        EXPECT_EQ(bmc->run({"wexa-bmcsim", "set", "board-id", value}),
                  (Completed{1, "",
                             "wexa-bmcsim: '" + std::string(value) +
                                 "' is no board identifier from 0 to "
                                 "65535\n"}));
    }
    EXPECT_EQ(bmc->run({"wexa-bmcsim", "set", "flash-colour", "red"}),
              (Completed{1, "",
                         "wexa-bmcsim: there is no 'flash-colour' to set; of "
                         "the flash there are flash, flash-time and "
                         "flash-timeout\n"}));
}

} // namespace
