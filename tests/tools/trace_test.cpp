// SPDX-License-Identifier: Apache-2.0
#include "tool_test.hpp"

#include <regex>

using namespace test;

namespace
{

class Trace : public ToolTest
{
  protected:
    /** With every time turned into T. */
    static std::string timeless(const std::string& text)
    {
        return std::regex_replace(text, std::regex("[0-9.]+ ms"), "T ms");
    }
};

TEST_F(Trace, ShowsEachCallOfAnOperationAndItsTime)
{
    const auto image = images.bmc("1");
    const auto done = fwmgr({"upload", "bmc", image, "--trace"});
    EXPECT_EQ(done.out, image + ": accepted as BMC image, version 1, recorded "
                                "as staged\n");
    EXPECT_EQ(timeless(done.err),
              "trace: xyz.openbmc_project.SecurityManager "
              "/xyz/openbmc_project/security "
              "xyz.openbmc_project.security.SecurityManager.verifyBmc(s)\n"
              "trace:   T ms, answered (b)\n"
              "trace: xyz.openbmc_project.FwInfoManager "
              "/xyz/openbmc_project/fwinfo "
              "org.freedesktop.DBus.Properties.Set(ssv)\n"
              "trace:   T ms, answered ()\n");
}

TEST_F(Trace, ShowsTheErrorOfACallThatFails)
{
    bmc.set("security", "absent");
    const auto done = fwmgr({"verify", "bmc", images.bmc("1"), "--trace"});
    EXPECT_EQ(done.status, callFailed);
    EXPECT_THAT(timeless(done.err),
                testing::StartsWith(
                    "trace: xyz.openbmc_project.SecurityManager "
                    "/xyz/openbmc_project/security "
                    "xyz.openbmc_project.security.SecurityManager.verifyBmc(s)"
                    "\ntrace:   T ms, "
                    "org.freedesktop.DBus.Error.ServiceUnknown\n"
                    "wexa-fwmgr: "));
}

TEST_F(Trace, ShowsTheCallThatHangsWhileItHangs)
{
    bmc.set("security", "silent");
    Process tool({"sh", "-c", "exec \"$0\" verify bmc \"$1\" --trace 2>&1",
                  fromEnvironment("WEXA_FWMGR"), images.bmc("1")},
                 bmc.environment());
    tool.awaitOutput("SecurityManager.verifyBmc(s)\n");
}

} // namespace
