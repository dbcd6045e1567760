// SPDX-License-Identifier: Apache-2.0
#include "exit_status.hpp"

std::string nameOf(ExitStatus status)
{
    switch (status)
    {
        case ExitStatus::success:
            return "success";
        case ExitStatus::unexpected:
            return "unexpected";
        case ExitStatus::wrongUsage:
            return "wrong_usage";
        case ExitStatus::imageRefused:
            return "image_refused";
        case ExitStatus::callFailed:
            return "call_failed";
        case ExitStatus::flashFailed:
            return "flash_failed";
        case ExitStatus::flashNotRun:
            return "flash_not_run";
        case ExitStatus::mayStillRun:
            return "may_still_run";
        case ExitStatus::notReady:
            return "not_ready";
        case ExitStatus::outcomeUnknown:
            return "outcome_unknown";
        case ExitStatus::hungUp:
        case ExitStatus::interrupted:
        case ExitStatus::terminated:
            return "interrupted";
    }
    return "unexpected";
}
