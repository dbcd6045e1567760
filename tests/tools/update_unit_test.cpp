// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "update_fixture.hpp"

#include <regex>

// Flash units that systemd calls done although nothing was flashed, or that
// fail in a way of their own.

using namespace test;

namespace
{

struct Unit
{
    std::string name;
    std::string sections;
    int status;
    std::string what;
    std::string hint;
    std::vector<std::string> commands = {};
};

class UpdateSeesThrough :
    public Update,
    public testing::WithParamInterface<Unit>
{};

TEST_P(UpdateSeesThrough, AUnit)
{
    writeBytes(bmc.directory() + "/units/broken.service",
               "[Unit]\nDefaultDependencies=no\n"
               "[Service]\nType=oneshot\nExecStart=/bin/false\n");
    bmc.replaceFlashUnit(
        "[Unit]\nDefaultDependencies=no\n" + GetParam().sections +
        "StandardOutput=append:" + bmc.directory() + "/log/flash\n");

    const auto inWords = [this](const std::string& text) {
        return std::regex_replace(
            std::regex_replace(text, std::regex("UNIT"), unit()),
            std::regex("TEMPLATE"), unitTemplate("obmc-flash-bmc-rot2"));
    };
    Reason reason{"", {}, "", inWords(GetParam().hint)};
    for (const auto& command : GetParam().commands)
    {
        reason.commands.push_back(std::regex_replace(
            command, std::regex("INSTANCE"), "bmc_rot2 update " + image));
    }
    EXPECT_EQ(update(),
              ended(GetParam().status, inWords(GetParam().what), reason));
}

INSTANTIATE_TEST_SUITE_P(
    Update, UpdateSeesThrough,
    testing::Values(
        Unit{"WhoseConditionDoesNotHold",
             "ConditionPathExists=!/dev/null\n"
             "[Service]\nType=oneshot\nExecStart=/bin/true\n",
             flashNotRun,
             "the flash was not run: the condition "
             "ConditionPathExists=!/dev/null of its unit did not hold",
             "take it out of TEMPLATE"},
        Unit{"WhoseExecConditionDoesNotHold",
             "[Service]\nType=oneshot\nExecCondition=/bin/false\n"
             "ExecStart=/bin/true\n",
             flashNotRun,
             "the flash was not run: an ExecCondition= of its unit did not "
             "hold",
             "take it out of TEMPLATE"},
        Unit{"WhoseAssertionDoesNotHold",
             "AssertPathExists=/nonexistent\n"
             "[Service]\nType=oneshot\nExecStart=/bin/true\n",
             flashNotRun,
             "the flash was not run: systemd ended its job with 'assert'",
             "see systemctl --user status 'UNIT'"},
        Unit{"WhoseRequirementFails",
             "Requires=broken.service\nAfter=broken.service\n"
             "[Service]\nType=oneshot\nExecStart=/bin/true\n",
             flashNotRun,
             "the flash was not run: systemd ended its job with 'dependency'",
             "see systemctl --user status 'UNIT'"},
        Unit{"ThatIgnoresAFailure",
             "[Service]\nType=oneshot\nExecStart=-/bin/false\n",
             flashFailed,
             "the flash failed: its program ended with exit status 1/FAILURE",
             "take the \"-\" before the command, or SuccessExitStatus=, out "
             "of TEMPLATE",
             {"/bin/false"}},
        Unit{"ThatIgnoresTheFailureOfItsFirstProgram",
             "[Service]\nType=oneshot\nExecStart=-/bin/false\n"
             "ExecStart=/bin/true\n",
             flashFailed,
             "the flash failed: one of its programs failed, which the unit "
             "ignores",
             "take the \"-\" before the command, or SuccessExitStatus=, out "
             "of TEMPLATE",
             {"/bin/false", "/bin/true"}},
        Unit{"ThatCountsAFailureAsSuccess",
             "[Service]\nType=oneshot\nSuccessExitStatus=3\n"
             "ExecStart=/bin/sh -c 'exit 3'\nExecStart=/bin/true\n",
             flashFailed,
             "the flash failed: one of its programs failed, which the unit "
             "ignores",
             "take the \"-\" before the command, or SuccessExitStatus=, out "
             "of TEMPLATE",
             {"/bin/sh -c exit 3", "/bin/true"}},
        Unit{"ThatIgnoresTheFailureOfAProgramThatRunsAfterwards",
             "[Service]\nType=oneshot\nExecStart=/bin/true\n"
             "ExecStartPost=-/bin/false\n",
             flashFailed,
             "the flash failed: one of its programs failed, which the unit "
             "ignores",
             "take the \"-\" before the command, or SuccessExitStatus=, out "
             "of TEMPLATE",
             {"/bin/true"}},
        Unit{"WhoseProgramIsMissing",
             "[Service]\nType=oneshot\nExecStart=/nonexistent %I\n",
             flashFailed,
             "the flash failed: its program ended with exit status 203/EXEC: "
             "the program is missing or cannot be executed",
             "install it, or mend ExecStart= in TEMPLATE",
             {"/nonexistent INSTANCE"}},
        Unit{"ThatSystemdDoesNotWaitFor",
             "[Service]\nType=simple\nExecStart=/bin/sleep 1\n", outcomeUnknown,
             "whether the flash is done cannot be told: its unit is of type "
             "simple, for which systemd does not wait",
             "make it Type=oneshot in TEMPLATE"}),
    [](const auto& row) { return row.param.name; });

} // namespace
