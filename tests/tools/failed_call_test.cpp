// SPDX-License-Identifier: Apache-2.0
#include "tool_test.hpp"

// What is said of a D-Bus call that was not answered, or not as expected.

using namespace test;

namespace
{

class FailedCall : public ToolTest
{
  protected:
    /** `verify bmc`, where calls may take no longer than this. */
    Completed verifyWithin(const std::string& limit) const
    {
        return bmc.run({"env", "SYSTEMD_BUS_TIMEOUT=" + limit,
                        fromEnvironment("WEXA_FWMGR"), "verify", "bmc", image});
    }

    Completed failure(const std::string& error, const std::string& call,
                      const std::string& hint) const
    {
        return refusal(
            callFailed, image + ": could not be verified",
            {bySecurityManager,
             {"Error in security method call for "
              "(/xyz/openbmc_project/security, "
              "xyz.openbmc_project.security.SecurityManager: " +
              error},
             error.substr(error.find(": ") + 2,
                          error.rfind(": ") - error.find(": ") - 2),
             hint,
             "verifyBmc of xyz.openbmc_project.SecurityManager: " + call});
    }

    static constexpr auto timedOut =
        "sd_bus_call: org.freedesktop.DBus.Error.Timeout: Connection timed "
        "out";
    static constexpr auto restart =
        "the service did not answer in time: look at its log, restart it";

    std::string image = images.bmc("1");
};

TEST_F(FailedCall, ThatTimedOutIsToldWithItsLimit)
{
    bmc.set("security", "silent");
    EXPECT_EQ(verifyWithin("2s"),
              failure(timedOut, "not answered within 2 s", restart));
}

TEST_F(FailedCall, IsNotAdvisedToWaitShorterWhereItDoes)
{
    bmc.set("security", "silent");
    EXPECT_EQ(verifyWithin("5001ms"),
              failure(timedOut, "not answered within 5.001 s",
                      std::string(restart) +
                          "; SYSTEMD_BUS_TIMEOUT=5s in the environment "
                          "shortens the wait"));
}

TEST_F(FailedCall, ThatChangesSomethingMayStillTakeEffect)
{
    bmc.set("fwinfo", "silent");
    EXPECT_EQ(bmc.run({"env", "SYSTEMD_BUS_TIMEOUT=2s",
                       fromEnvironment("WEXA_FWMGR"), "upload", "bmc", image}),
              refusal(callFailed,
                      image + ": is authentic, but its version could not be "
                              "recorded as staged",
                      {"recording the version as staged",
                       {"Error in fwinfo method call for "
                        "(/xyz/openbmc_project/fwinfo, "
                        "xyz.openbmc_project.fwinfo.FwInfoManager: " +
                        std::string(timedOut)},
                       "org.freedesktop.DBus.Error.Timeout",
                       restart,
                       "Set stagingBMC of xyz.openbmc_project.FwInfoManager: "
                       "not answered within 2 s; it may still take "
                       "effect"}));
}

TEST_F(FailedCall, IsToldInTheValueForPrograms)
{
    bmc.set("security", "wrong-type");
    EXPECT_EQ(
        nlohmann::json::parse(
            fwmgr({"verify", "bmc", image, "--json"}).out)["error"]["call"],
        "verifyBmc of xyz.openbmc_project.SecurityManager: the answer is "
        "of type 's' (\"authentic\"), where 'b' is expected");
}

} // namespace
