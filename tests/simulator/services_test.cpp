// SPDX-License-Identifier: Apache-2.0
#include "service_test.hpp"

#include <thread>

// Those that judge images and keep their versions.

using namespace test;

namespace
{

class SimulatedService : public ServiceTest
{
  protected:
    static Completed security(const std::string& member,
                              const std::string& path)
    {
        return bmc->call({"--timeout=3", "xyz.openbmc_project.SecurityManager",
                          "/xyz/openbmc_project/security",
                          "xyz.openbmc_project.security.SecurityManager",
                          member, "s", path});
    }

    static Completed set(const std::string& property, const std::string& type,
                         const std::string& value)
    {
        return information({"Set", "ssv", interface, property, type, value});
    }

    static Completed get(const std::string& property)
    {
        return information({"Get", "ss", interface, property});
    }

    static const Completed yes;
    static const Completed no;

    Images images;

  private:
    static Completed information(const std::vector<std::string>& words)
    {
        return properties("xyz.openbmc_project.FwInfoManager",
                          "/xyz/openbmc_project/fwinfo", words);
    }

    static constexpr auto interface =
        "xyz.openbmc_project.fwinfo.FwInfoManager";
};

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

TEST_F(SimulatedService, AnswersAsItShouldAfterTwoSecondsWhereItIsSlow)
{
    const auto image = images.bmc("1");
    bmc->set("security", "slow");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(security("verifyBmc", image), yes);
    EXPECT_GE(std::chrono::steady_clock::now() - start,
              std::chrono::seconds(2));
}

TEST_F(SimulatedService, IsSlowWithACallThatComesWhileAnotherWaits)
{
    const auto image = images.bmc("1");
    bmc->set("security", "slow");
    bmc->set("fwinfo", "silent");
    Process first({"busctl", "--address=" + bmc->busAddress(), "call",
                   "xyz.openbmc_project.SecurityManager",
                   "/xyz/openbmc_project/security",
                   "xyz.openbmc_project.security.SecurityManager", "verifyBmc",
                   "s", image});
    EXPECT_EQ(get("stagingBMC"), failed("Connection timed out"));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(security("verifyBmc", image), yes);
    EXPECT_GE(std::chrono::steady_clock::now() - start,
              std::chrono::seconds(2));
    EXPECT_EQ(first.wait(), yes);
}

TEST_F(SimulatedService, OffersOnlyTheMembersThatItIsTold)
{
    const auto image = images.bmc("1");
    bmc->set("security-offers", "verifyBmc");
    EXPECT_EQ(security("verifyBmc", image), yes);
    EXPECT_EQ(security("verifyBios", image),
              failed("Unknown method verifyBios or interface "
                     "xyz.openbmc_project.security.SecurityManager."));
    bmc->set("security-offers", "verifyBmc,verifyBios,verifyCapsule");
    EXPECT_EQ(security("verifyBios", image), no);

    bmc->set("fwinfo-offers", "stagingBIOS");
    EXPECT_EQ(get("stagingBIOS").status, 0);
    EXPECT_EQ(get("stagingBMC"),
              failed("Unknown interface "
                     "xyz.openbmc_project.fwinfo.FwInfoManager or property "
                     "stagingBMC."));
    bmc->set("fwinfo-offers", "stagingBMC,stagingBIOS,stagingCapsuleMCU");
    EXPECT_EQ(get("stagingBMC").status, 0);

    EXPECT_EQ(bmc->run({"wexa-bmcsim", "set", "fwinfo-offers", "staging"}),
              (Completed{1, "",
                         "wexa-bmcsim: no member 'staging'; there are "
                         "stagingBMC, stagingBIOS and stagingCapsuleMCU\n"}));
}

TEST_F(SimulatedService, RemainsAsItIsWhereAMemberComesTwice)
{
    const auto image = images.bmc("1");
    EXPECT_EQ(bmc->run({"wexa-bmcsim", "set", "security-offers",
                        "verifyBmc,verifyBmc"}),
              (Completed{1, "",
                         "wexa-bmcsim: the member 'verifyBmc' comes twice\n"}));
    EXPECT_EQ(security("verifyBmc", image), yes);
    EXPECT_EQ(bmc->state()["services"]["security"]["values"]["security-offers"],
              "verifyBmc,verifyBios,verifyCapsule");
}

} // namespace
