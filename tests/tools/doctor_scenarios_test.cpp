// SPDX-License-Identifier: Apache-2.0
#include "../support/rights.hpp"
#include "doctor_findings.hpp"
#include "schema.hpp"
#include "tool_test.hpp"

#include <algorithm>
#include <regex>
#include <set>
#include <sstream>
#include <tuple>

// The doctor finds exactly what is wrong in each scenario of the simulator.

using namespace test;

namespace
{

struct Scenario
{
    std::string name;
    Wrong wrong;
};

void PrintTo(const Scenario& scenario, std::ostream* stream)
{
    *stream << scenario.name;
}

/** The same of both templates. */
Wrong ofBothTemplates(const std::string& level, const std::string& what)
{
    Wrong both;
    for (const auto* name :
         {"obmc-flash-bmc-rot2@.service", "obmc-flash-host-bios@.service"})
    {
        both.push_back(level + ": " + name + what);
    }
    return both;
}

/** The same of every CPLD; NAME stands for it. */
Wrong ofAllCplds(const std::string& text)
{
    Wrong all;
    for (const std::string name : {"FAN_CPLD", "MB_CPLD", "SCM_CPLD"})
    {
        auto each = text;
        for (auto at = each.find("NAME"); at != std::string::npos;
             at = each.find("NAME"))
        {
            each.replace(at, 4, name);
        }
        all.push_back(each);
    }
    return all;
}

const std::vector<Scenario>& scenarios()
{
    const std::string lies = ": systemd calls its job done before the flash "
                             "has ended";
    static const std::vector<Scenario> all{
        {"healthy", {}},
        // These show only when an image is verified or flashed.
        {"board-mismatch", {}},
        {"security-slow", {}},
        {"security-refuses", {}},
        {"flash-fails", {}},
        {"flash-hangs", {}},
        {"flash-corrupt", {}},
        {"security-absent",
         {"failure: xyz.openbmc_project.SecurityManager is not on the bus: no "
          "BMC or BIOS image can be verified"}},
        {"security-hangs",
         {"failure: /xyz/openbmc_project/security does not answer "
          "(org.freedesktop.DBus.Error.Timeout): no BMC or BIOS image can be "
          "verified"}},
        {"security-old",
         {"failure: there is no method verifyCapsule: no BIOS capsule can be "
          "verified"}},
        {"security-wrong-type",
         {"failure: the method verifyBmc is (s) -> (s): no BMC image can be "
          "verified",
          "failure: the method verifyBios is (s) -> (s): no BIOS image can be "
          "verified",
          "failure: the method verifyCapsule is (s) -> (s): no BIOS capsule "
          "can be verified"}},
        {"fwinfo-absent",
         {"failure: xyz.openbmc_project.FwInfoManager is not on the bus: no "
          "BMC or BIOS image can be uploaded"}},
        {"fwinfo-old",
         {"failure: there is no property stagingCapsuleMCU: no BIOS capsule "
          "can be uploaded"}},
        {"host-wrong-type",
         {"failure: the property BoardId is of type s: no BIOS image can "
          "be uploaded, since its board cannot be compared with this one"}},
        {"settings-absent",
         {"warning: xyz.openbmc_project.Settings is not on the bus: uploads of "
          "BIOS images tell no apply time"}},
        {"settings-unknown",
         {"warning: the requested apply time is "
          "'xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes."
          "Sometime', which the library does not know: uploads of BIOS images "
          "tell no apply time"}},
        {"cpld-absent",
         {"failure: xyz.openbmc_project.CpldUpdateMgrSvc is not on the bus: no "
          "CPLD can be listed, verified or updated"}},
        {"cpld-unbound", {"warning: no CPLD is bound"}},
        {"cpld-registry-malformed",
         {"failure: the method bindedDevices is () -> (a{s(ss)}): no CPLD can "
          "be listed, verified or updated"}},
        {"cpld-path-malformed",
         ofAllCplds("failure: the registry tells 'NAME' as the path of NAME, "
                    "which is not an object path: no CPLD can be listed")},
        {"cpld-device-absent",
         ofAllCplds("failure: xyz.openbmc_project.CpldUpdateMgrSvc has no "
                    "object /xyz/openbmc_project/cpld_update_mgr/NAME: NAME "
                    "cannot be verified or updated")},
        {"flash-condition",
         ofBothTemplates("failure", " has conditions: where one does not hold, "
                                    "systemd calls the job done though nothing "
                                    "was flashed")},
        {"flash-ignored-failure",
         ofBothTemplates("failure", " ignores a failure of " +
                                        fromEnvironment("WEXA_BMCSIM") +
                                        ": systemd calls a failed flash done")},
        {"flash-simple",
         ofBothTemplates("failure", " is of type simple" + lies)},
        {"flash-no-timeout",
         ofBothTemplates("warning", " has no time-out: a flash that hangs "
                                    "never ends")},
        {"units-missing",
         ofBothTemplates("failure", " is not installed or has errors "
                                    "(not-found): nothing can be flashed")},
        {"units-masked",
         ofBothTemplates("failure", " is masked: nothing can be flashed")},
        {"systemd-absent",
         {"failure: org.freedesktop.systemd1 is not on the bus: nothing can be "
          "flashed"}},
        {"bus-gone",
         {"failure: cannot reach the system bus ADDRESS: Connection "
          "refused"}},
    };
    return all;
}

/** The address of a simulated BMC's bus is another each time. */
std::string withoutAddress(const std::string& text)
{
    static const std::regex address("unix:path=[^ ]*/run/bus");
    return std::regex_replace(text, address, "ADDRESS");
}

/** Under either manager. */
class DoctorFinds :
    public testing::TestWithParam<std::tuple<std::string, Scenario>>
{};

TEST_P(DoctorFinds, ExactlyWhatIsWrong)
{
    const auto& [manager, scenario] = GetParam();
    if (manager == "systemd")
    {
        SKIP_WITHOUT_SYSTEMD();
    }
    const auto done = run({fromEnvironment("WEXA_BMCSIM"), "run", "--manager",
                           manager, "--scenario", scenario.name, "--",
                           fromEnvironment("WEXA_FWMGR"), "doctor", "--json"});
    EXPECT_EQ(done.err, "");
    ASSERT_EQ(violationsIn(done.out), "") << done.out;
    EXPECT_EQ(wrongIn(withoutAddress(done.out)), scenario.wrong);
    const auto failures =
        std::ranges::count_if(scenario.wrong, [](const auto& line) {
            return line.starts_with("failure");
        });
    EXPECT_EQ(done.status, failures == 0 ? 0 : notReady);
}

INSTANTIATE_TEST_SUITE_P(Scenarios, DoctorFinds,
                         testing::Combine(testing::Values("systemd", "builtin"),
                                          testing::ValuesIn(scenarios())),
                         [](const auto& row) {
                             auto name = std::get<0>(row.param) + '_' +
                                         std::get<1>(row.param).name;
                             std::ranges::replace(name, '-', '_');
                             return name;
                         });

TEST(DoctorTests, CoverEveryScenario)
{
    std::set<std::string> tried;
    for (const auto& scenario : scenarios())
    {
        tried.insert(scenario.name);
    }
    std::set<std::string> known;
    std::istringstream list(
        run({fromEnvironment("WEXA_BMCSIM"), "scenarios"}).out);
    for (std::string line; std::getline(list, line);)
    {
        known.insert(line.substr(0, line.find(' ')));
    }
    EXPECT_EQ(tried, known);
}

} // namespace
