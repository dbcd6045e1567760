// SPDX-License-Identifier: Apache-2.0
#include "tool_test.hpp"

using namespace test;

namespace
{

class Verify : public ToolTest
{
  protected:
    const Reason notVerified{
        bySecurityManager, {"Verify false"}, "", getAnother};
};

TEST_F(Verify, SaysThatAnImageIsAuthentic)
{
    const auto image = images.bmc("2.14.0");

    EXPECT_EQ(fwmgr({"verify", "bmc", image}),
              (Completed{0, image + ": authentic BMC image\n", ""}));
}

TEST_F(Verify, TellsABiosImageFromACapsuleByItsContent)
{
    const auto image = images.make("i", {"--kind", "bios", "--version", "1"});
    const auto capsule =
        images.make("c", {"--kind", "capsule", "--version", "1"});

    EXPECT_EQ(fwmgr({"verify", "bios", image}),
              (Completed{0, image + ": authentic BIOS image\n", ""}));
    EXPECT_EQ(fwmgr({"verify", "bios", capsule}),
              (Completed{0, capsule + ": authentic BIOS capsule\n", ""}));
    EXPECT_EQ(bmc.calls("security"),
              (Calls{{"verifyBios", 1}, {"verifyCapsule", 1}}));
}

TEST_F(Verify, RefusesABmcImageAsBios)
{
    const auto image = images.bmc("1");
    EXPECT_EQ(fwmgr({"verify", "bios", image}),
              refusal(imageRefused, image + ": not authentic", notVerified));
}

TEST_F(Verify, RefusesAnImageWithAnotherDigestWithTheLibrarysWords)
{
    const auto image = images.make(
        "bad", {"--kind", "bmc", "--version", "2.14.0", "--broken", "digest"});

    EXPECT_EQ(fwmgr({"verify", "bmc", image}),
              refusal(imageRefused, image + ": not authentic", notVerified));
}

TEST_F(Verify, TellsAFailedCallFromARefusal)
{
    const auto image = images.bmc("2.14.0");
    bmc.set("security", "absent");

    EXPECT_EQ(fwmgr({"verify", "bmc", image}),
              refusal(callFailed, image + ": could not be verified",
                      {bySecurityManager,
                       {securityManagerAbsent},
                       serviceUnknown,
                       startIt}));
}

TEST_F(Verify, SaysThatAnAnswerHadAnotherType)
{
    const auto image = images.bmc("2.14.0");
    bmc.set("security", "wrong-type");

    EXPECT_EQ(
        fwmgr({"verify", "bmc", image}),
        refusal(
            callFailed, image + ": could not be verified",
            {bySecurityManager,
             {"Error in security method call for "
              "(/xyz/openbmc_project/security, "
              "xyz.openbmc_project.security.SecurityManager: "
              "sd_bus_message_read_basic bool: System.Error.ENXIO: No "
              "such device or address"},
             "System.Error.ENXIO",
             anotherType,
             "verifyBmc of xyz.openbmc_project.SecurityManager: the answer is of type 's' (\"authentic\"), where 'b' is expected"}));
}

TEST_F(Verify, ShowsTheLibrarysLogWhenAskedTo)
{
    const auto image = images.bmc("2.14.0");

    EXPECT_EQ(fwmgr({"verify", "bmc", image, "--verbose"}),
              (Completed{0, image + ": authentic BMC image\n",
                         "int wexa::core::FWManagerInternal::VerifyBMC("
                         "std::string, wexa::core::VersionPurpose, "
                         "std::string)\n"
                         "verify image: " +
                             image + "\nVerify OK\n"}));
}

} // namespace
