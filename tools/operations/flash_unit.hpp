// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>

#include <string>

/** Keeps systemd from forgetting how the unit ended: a unit that is not
 *  referenced is unloaded, and with it its result. Lasts as long as the
 *  connection. Failures are left to the start of the unit, which has the same.
 */
void holdUnit(sdbusplus::bus::bus& bus, const std::string& unit);

/** Lets systemd forget it again. */
void releaseUnit(sdbusplus::bus::bus& bus, const std::string& unit);

/** What the unit itself knows of its last run. */
struct UnitOutcome
{
    std::string type;
    std::string result;
    std::string activeState;
    int exitStatus = 0;
    bool conditionsHeld = false;
};

/** @throw sdbusplus::exception::exception  systemd does not tell */
UnitOutcome outcomeOf(sdbusplus::bus::bus& bus, const std::string& unit);
