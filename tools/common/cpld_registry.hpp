// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "told_value.hpp"

#include <map>
#include <optional>
#include <stdexcept>
#include <string>

/** The CPLD update manager, as the tool asks it. */
namespace cpld
{

constexpr auto service = "xyz.openbmc_project.CpldUpdateMgrSvc";
constexpr auto managerPath = "/xyz/openbmc_project/cpld_update_mgr";
constexpr auto managerInterface =
    "xyz.openbmc_project.cpld_update_mgr.CpldUpdateMgrSvc";
constexpr auto deviceInterface =
    "xyz.openbmc_project.cpld_update_mgr.CpldDevice";

/** What the registry tells of a component. */
struct Record
{
    std::string objectPath;
    std::map<std::string, ToldValue> properties;
};

/** The bound components by name; of entries with the same name the first. */
using Registry = std::map<std::string, Record>;

/** The registry is of another type; what() tells which. */
struct AnotherType : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/** Reads the registry.
 *
 *  @param limit  0: as long as the connection lets a call take
 *  @throw AnotherType
 *  @throw sdbusplus::exception_t  the call failed
 */
Registry readRegistry(sdbusplus::bus_t& bus, sdbusplus::SdBusDuration limit);

/** Why the object of a component cannot be called, if it cannot. */
std::optional<std::string> faultOfPath(const std::string& component,
                                       const Record& record);

} // namespace cpld
