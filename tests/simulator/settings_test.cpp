// SPDX-License-Identifier: Apache-2.0
#include "service_test.hpp"

using namespace test;

namespace
{

class SimulatedSettings : public ServiceTest
{
  protected:
    static Completed applyTime(const std::vector<std::string>& words)
    {
        return properties("xyz.openbmc_project.Settings",
                          "/xyz/openbmc_project/software/apply_time", words);
    }

    static Completed applyTime()
    {
        return applyTime(
            {"Get", "ss", applyTimeInterface, "RequestedApplyTime"});
    }

    static constexpr auto applyTimeInterface =
        "xyz.openbmc_project.Software.ApplyTime";
};

TEST_F(SimulatedSettings, KeepsTheApplyTimeThatItIsTold)
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

TEST_F(SimulatedSettings, BehavesAsItIsTold)
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

} // namespace
