// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "findings.hpp"
#include "introspection.hpp"

#include <sdbusplus/bus.hpp>

#include <optional>
#include <string>

/** How bad it is if something is not there. */
struct Need
{
    Level level;
    /** What the library cannot do then. */
    std::string without;
};

/** Adds a finding about something that is not as it is needed. */
void addWrong(Findings& findings, const Need& need, const std::string& what,
              const std::string& advice);

/** Whether a service is on the bus; findings if it is not. */
bool isOnTheBus(Findings& findings, sdbusplus::bus_t& bus,
                const std::string& service, const Need& need);

/** What an object offers at an interface; findings where it is not there, or
 *  does not tell.
 */
std::optional<OfferedInterface>
offeredBy(Findings& findings, sdbusplus::bus_t& bus, const std::string& service,
          const std::string& path, const std::string& interface,
          const Need& need);

/** Looks for a method with the types that the library expects.
 *
 *  @param name  of one that it calls
 *  @return whether it is there and has these types
 */
bool checkMethod(Findings& findings, const OfferedInterface& offered,
                 const std::string& name, const Need& need);

/** Looks for a property.
 *
 *  @return whether it is there and has this type
 */
bool checkProperty(Findings& findings, const OfferedInterface& offered,
                   const std::string& name, const std::string& type,
                   bool writable, const Need& need);
