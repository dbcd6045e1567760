// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

/** Keeps systemd from forgetting how the unit ended: a unit that is not
 *  referenced is unloaded, and with it its result. Lasts as long as the
 *  connection. Failures are left to the start of the unit, which has the same.
 */
void holdUnit(sdbusplus::bus_t& bus, const std::string& unit);

/** Lets systemd forget it again. */
void releaseUnit(sdbusplus::bus_t& bus, const std::string& unit);

/** What the unit itself knows of its last run. */
struct UnitState
{
    std::string path;     /**< of its D-Bus object */
    std::string fragment; /**< the file of its template */
    std::string type;
    std::string activeState;
    bool hasJob = false;
    /** The condition that did not hold, as the template has it; or empty. */
    std::string failedCondition;
    bool conditionsHeld = false;
    /** 32 hexadecimal digits, new for each run; empty where it never ran. */
    std::string invocation;
    std::string result;
    /** Why the main process ended: CLD_EXITED, CLD_KILLED, CLD_DUMPED; 0
     *  where it has not.
     */
    int exitCode = 0;
    /** Its exit status, or the number of the signal. */
    int exitStatus = 0;
    /** The commands of the template, each with its arguments. */
    std::vector<std::string> commands;
    /** Whether one of them, or of those that run before and after them, failed
     *  or was killed.
     */
    bool hasFailedCommand = false;
    std::chrono::microseconds timeout{0}; /**< to start; most: none */
    /** When the main process began and ended, since 1970; 0: it did not. */
    std::chrono::microseconds began{0};
    std::chrono::microseconds ended{0};
    /** When it began, by the clock that is never set. */
    std::chrono::microseconds beganMonotonic{0};

    bool isSettled() const
    {
        return activeState == "inactive" || activeState == "failed" ||
               activeState == "active";
    }

    /** Whether a flash of it runs, or is about to. */
    bool isBusy() const
    {
        return hasJob || (activeState != "inactive" && activeState != "failed");
    }
};

/** @throw sdbusplus::exception_t  systemd does not tell */
UnitState stateOf(sdbusplus::bus_t& bus, const std::string& unit);
