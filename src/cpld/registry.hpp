// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/remote_call.hpp"
#include "names.hpp"

#include <wexa/core/fwmanager_internal.hpp>

/** The CPLD update manager's registry of the devices that it has bound.
 *
 *  Replies are decoded by sdbusplus's typed reads: the first of entries with
 *  the same key wins, a property of a type that `PropertyValue` does not list
 *  becomes its default, and every other mismatch fails.
 */
namespace wexa::core
{

/** One bound device: object path, driver name, properties (`ssa{sv}`). */
using CpldDeviceRecord = std::tuple<std::string, std::string, PropertyMap>;

/** The bound devices by component name (`a{s(ssa{sv})}`). */
using CpldDeviceMap = std::map<std::string, CpldDeviceRecord>;

/** A call of the registry, whose answer is a `CpldDeviceMap`.
 *
 *  @throw sdbusplus::exception::SdBusError  it cannot be created
 */
static inline auto newBoundDevicesCall(sdbusplus::bus_t& bus)
{
    return newCall(bus,
                   {cpldUpdateMgrService.c_str(), cpldUpdateMgrPath.c_str(),
                    cpldUpdateMgrInterface.c_str(), "bindedDevices"});
}

} // namespace wexa::core
