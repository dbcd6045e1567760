// SPDX-License-Identifier: Apache-2.0
#include "tool_test.hpp"

using namespace test;

namespace
{

class Upload : public ToolTest
{
  protected:
    std::string staged(const std::string& property = "stagingBMC") const
    {
        return bmc
            .run({"busctl", "--address=" + bmc.busAddress(), "get-property",
                  "xyz.openbmc_project.FwInfoManager",
                  "/xyz/openbmc_project/fwinfo",
                  "xyz.openbmc_project.fwinfo.FwInfoManager", property})
            .out;
    }
};

TEST_F(Upload, RecordsTheVersionOfAnAcceptedImage)
{
    const auto image = images.bmc("2.14.0");

    EXPECT_EQ(fwmgr({"upload", "bmc", image}),
              (Completed{0,
                         image + ": accepted as BMC image, version 2.14.0, "
                                 "recorded as staged\n",
                         ""}));
    EXPECT_EQ(staged(), "s \"2.14.0\"\n");
}

TEST_F(Upload, RefusesAFileThatIsNoImageWithTheLibrarysWords)
{
    EXPECT_EQ(fwmgr({"upload", "bmc", "/etc/passwd"}),
              refusal(imageRefused, "/etc/passwd: refused",
                      {"reading the version of the BMC image",
                       {"Unable to read version from image"},
                       "",
                       "the file is no BMC image, or is damaged: get it "
                       "again"}));
    EXPECT_EQ(staged(), "s \"\"\n");
}

TEST_F(Upload, RefusesAnImageThatIsNotAuthentic)
{
    const auto image = images.make(
        "bad", {"--kind", "bmc", "--version", "1", "--broken", "digest"});

    EXPECT_EQ(
        fwmgr({"upload", "bmc", image}),
        refusal(imageRefused, image + ": refused",
                {bySecurityManager,
                 {"Verify false", "Error !! VerifyBMC failed. image: " + image},
                 "",
                 getAnother}));
    EXPECT_EQ(staged(), "s \"\"\n");
}

TEST_F(Upload, TellsAFailedVerificationCallFromARefusal)
{
    const auto image = images.bmc("1");
    bmc.set("security", "absent");

    EXPECT_EQ(fwmgr({"upload", "bmc", image}),
              refusal(callFailed, image + ": could not be examined",
                      {bySecurityManager,
                       {securityManagerAbsent,
                        "Error !! VerifyBMC failed. image: " + image},
                       serviceUnknown,
                       startIt}));
    EXPECT_EQ(staged(), "s \"\"\n");
}

TEST_F(Upload, SaysThatTheVersionCouldNotBeRecorded)
{
    const auto image = images.bmc("1");
    bmc.set("fwinfo", "refuse");

    EXPECT_EQ(
        fwmgr({"upload", "bmc", image}),
        refusal(callFailed,
                image + ": is authentic, but its version could not be recorded "
                        "as staged",
                {"recording the version as staged",
                 {"Error in fwinfo method call for "
                  "(/xyz/openbmc_project/fwinfo, "
                  "xyz.openbmc_project.fwinfo.FwInfoManager: sd_bus_call: "
                  "org.freedesktop.DBus.Error.AccessDenied: the simulated "
                  "service was told to refuse"},
                 "org.freedesktop.DBus.Error.AccessDenied",
                 "the service, or the policy of the bus, does not allow this: "
                 "run it as root, or look at what the service itself "
                 "logged"}));
    EXPECT_EQ(staged(), "s \"\"\n");
}

} // namespace
