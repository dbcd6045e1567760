// SPDX-License-Identifier: Apache-2.0
#include "verdict.hpp"

#include "../common/failure.hpp"
#include "../common/systemd.hpp"
#include "exit_words.hpp"
#include "flash_log.hpp"

#include <signal.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

namespace
{

/** Whether a job with this result did not run its unit. */
bool meansNotRun(const std::string& jobResult)
{
    constexpr std::array<std::string_view, 6> words{"assert",  "dependency",
                                                    "skipped", "unsupported",
                                                    "invalid", "collected"};
    return std::ranges::find(words, jobResult) != words.end();
}

std::string inSeconds(std::chrono::microseconds time)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%g s",
                  std::chrono::duration<double>(time).count());
    return text.data();
}

/** What systemd and the unit tell of the end of a flash. */
class Judge
{
  public:
    Judge(const std::string& unit, const UnitState& state,
          const std::optional<Launch>& launch, const std::string& bus) :
        unit(unit), state(state), launch(launch), bus(bus)
    {}

    void requireJobDone(const JobEnd& job) const
    {
        if (job.isDone)
        {
            return;
        }
        const auto word = "systemd ended its job with '" + job.result + "'";
        if (meansNotRun(job.result))
        {
            notRun(word, "see " + systemctl("status"));
        }
        if (job.result == "canceled")
        {
            failed("it was stopped (" + word + ")",
                   "flash the image again before the device starts from it");
        }
        if (launch && !launch->isNew(state))
        {
            notRun(word + " and ran nothing",
                   "see " + systemctl("status") +
                       "; where it was started too often, " +
                       systemctl("reset-failed"));
        }
        if (isOfThisRun())
        {
            requireGoodEnd();
        }
        failed(word, seeLog());
    }

    void requireConditions() const
    {
        if (state.result == "exec-condition")
        {
            notRun("an ExecCondition= of its unit did not hold",
                   "take it out of " + state.fragment);
        }
        if (!state.conditionsHeld && !state.failedCondition.empty())
        {
            notRun("the condition " + state.failedCondition +
                       " of its unit did not hold",
                   "take it out of " + state.fragment);
        }
    }

    void requireRun() const
    {
        if (!isOfThisRun())
        {
            notRun("systemd calls its job done, but the unit did not run again",
                   "take RemainAfterExit= out of " + state.fragment +
                       ", and see that it has an ExecStart=");
        }
    }

    void requireGoodEnd() const
    {
        if (state.result == "timeout")
        {
            failed("it did not end within " + inSeconds(state.timeout) +
                       ", and systemd stopped it",
                   "set a longer TimeoutStartSec= in " + state.fragment +
                       " if it needs more time; " + seeLog());
        }
        const auto how = "its program ended with " +
                         exitWords(state.exitCode, state.exitStatus);
        if (state.exitCode == CLD_EXITED && state.exitStatus == couldNotExecute)
        {
            failed(how + ": the program is missing or cannot be executed",
                   "install it, or mend ExecStart= in " + state.fragment);
        }
        if (state.exitCode != 0 &&
            (state.exitCode != CLD_EXITED || state.exitStatus != 0))
        {
            failed(how, state.result == "success" ? dontIgnore() : seeLog());
        }
        if (state.result != "success")
        {
            failed("its unit ended with '" + state.result + "'", seeLog());
        }
        if (state.hasFailedCommand)
        {
            failed("one of its programs failed, which the unit ignores",
                   dontIgnore());
        }
    }

    void requireKnownEnd() const
    {
        if (state.type != "oneshot")
        {
            throw Failure(ExitStatus::outcomeUnknown,
                          "whether the flash is done cannot be told: its unit "
                          "is of type " +
                              state.type + ", for which systemd does not wait",
                          "make it Type=oneshot in " + state.fragment);
        }
    }

  private:
    std::string systemctl(const std::string& verb) const
    {
        return systemd::systemctl(bus) + ' ' + verb + " '" + unit + "'";
    }

    std::string seeLog() const
    {
        return "see what the flash program logged, and " + systemctl("status");
    }

    std::string dontIgnore() const
    {
        return "take the \"-\" before the command, or SuccessExitStatus=, out "
               "of " +
               state.fragment;
    }

    [[noreturn]] void failed(const std::string& why,
                             const std::string& hint) const
    {
        Reason reason{"", {}, "", hint};
        reason.commands = state.commands;
        if (isOfThisRun())
        {
            const auto log = logOf(state, launch ? launch->logSize : 0);
            reason.log = log.lines;
            reason.logUnknown = log.unknown;
        }
        throw Failure(ExitStatus::flashFailed, "the flash failed: " + why,
                      reason);
    }

    [[noreturn]] static void notRun(const std::string& why,
                                    const std::string& hint)
    {
        throw Failure(ExitStatus::flashNotRun, "the flash was not run: " + why,
                      hint);
    }

    bool isOfThisRun() const
    {
        return !launch || launch->isThatOf(state);
    }

    const std::string& unit;
    const UnitState& state;
    const std::optional<Launch>& launch;
    const std::string& bus;
};

} // namespace

void requireFlashed(const std::string& unit, const UnitState& state,
                    const std::optional<JobEnd>& job,
                    const std::optional<Launch>& launch, const std::string& bus)
{
    const Judge judge(unit, state, launch, bus);
    if (job)
    {
        judge.requireJobDone(*job);
    }
    judge.requireConditions();
    judge.requireRun();
    judge.requireGoodEnd();
    judge.requireKnownEnd();
}
