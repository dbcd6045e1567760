// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "flash_unit.hpp"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

/** What tells one run of a flash unit from those before it. */
struct Launch
{
    /** The unit's invocation before the start; empty where it never ran. */
    std::string invocationBefore;
    /** When the start was asked for, by the clock that is never set. */
    std::chrono::microseconds time{0};
    /** How much the flash program had logged before. */
    std::uintmax_t logSize = 0;

    /** Whether the unit was started since. */
    bool isNew(const UnitState& state) const
    {
        return !state.invocation.empty() &&
               state.invocation != invocationBefore;
    }

    /** Whether the unit's last run is the one that was asked for. */
    bool isThatOf(const UnitState& state) const
    {
        return isNew(state) && state.beganMonotonic >= time;
    }
};

/** How systemd ended the job of a flash. */
struct JobEnd
{
    /** systemd's word for it. */
    std::string result;
    /** Whether the library took it for done. */
    bool isDone = false;
};

/** Throws unless a flash is done beyond doubt. This is the one place that says
 *  what that needs:
 *
 *  - systemd calls the job done, or its signal was missed while it was
 *    absent;
 *  - the unit's conditions held;
 *  - the unit ran anew, and its main process began after the start was asked
 *    for;
 *  - its result is "success", its exit status 0, and no command failed whose
 *    failure the template ignores;
 *  - the unit is of type oneshot: systemd waits for its end.
 *
 *  @param job     unset where its end was missed
 *  @param launch  unset where the flash was started by another program
 *  @param bus     as `connectTo` takes it; for the hints
 *  @throw Failure  the flash failed, was not run, or its outcome is not known;
 *         with the reason
 */
void requireFlashed(const std::string& unit, const UnitState& state,
                    const std::optional<JobEnd>& job,
                    const std::optional<Launch>& launch,
                    const std::string& bus);
