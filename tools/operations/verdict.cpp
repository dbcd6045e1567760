// SPDX-License-Identifier: Apache-2.0
#include "verdict.hpp"

#include "../common/failure.hpp"

#include <algorithm>
#include <array>
#include <string_view>

/** Results of a job that never came to run its unit. */
static bool meansNotRun(const std::string& jobResult)
{
    constexpr std::array<std::string_view, 6> words{"assert",  "dependency",
                                                    "skipped", "unsupported",
                                                    "invalid", "collected"};
    return std::ranges::find(words, jobResult) != words.end();
}

static std::string logHint(const std::string& unit)
{
    return "see what the flash program logged: journalctl -u '" + unit + "'";
}

static void requireJobDone(const std::string& unit,
                           const std::string& jobResult, bool recognisedAsDone,
                           const UnitOutcome& outcome)
{
    if (recognisedAsDone)
    {
        return;
    }
    if (meansNotRun(jobResult))
    {
        throw Failure(ExitStatus::flashNotRun,
                      "the flash was not run: systemd ended its job with '" +
                          jobResult + "'",
                      "see systemctl status '" + unit + "'");
    }
    // A canceled job leaves the unit still on its way down.
    const auto unitResult = jobResult == "canceled"
                                ? ""
                                : ", the unit with '" + outcome.result + "'";
    throw Failure(ExitStatus::flashFailed,
                  "the flash failed: systemd ended its job with '" + jobResult +
                      "'" + unitResult,
                  logHint(unit));
}

void requireFlashed(const std::string& unit, const std::string& jobResult,
                    bool recognisedAsDone, const UnitOutcome& outcome)
{
    requireJobDone(unit, jobResult, recognisedAsDone, outcome);
    if (!outcome.conditionsHeld || outcome.result == "exec-condition")
    {
        throw Failure(ExitStatus::flashNotRun,
                      "the flash was not run: a condition of the unit did not "
                      "hold",
                      "take conditions out of " + unit);
    }
    if (outcome.result != "success" || outcome.exitStatus != 0)
    {
        throw Failure(ExitStatus::flashFailed,
                      "the flash failed: systemd calls its job done, but the "
                      "unit ended with '" +
                          outcome.result + "', exit status " +
                          std::to_string(outcome.exitStatus),
                      logHint(unit));
    }
    if (outcome.type != "oneshot")
    {
        throw Failure(ExitStatus::flashFailed,
                      "whether the flash is done cannot be told: the unit is "
                      "of type " +
                          outcome.type,
                      "make it Type=oneshot");
    }
}
