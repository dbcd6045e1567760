// SPDX-License-Identifier: Apache-2.0
#include "apply_time.hpp"

#include "../common/told_value.hpp"

#include <sdbusplus/exception.hpp>

constexpr auto service = "xyz.openbmc_project.Settings";
constexpr auto property = "RequestedApplyTime";

static std::string notTold(const std::string& dbusError)
{
    return std::string(service) + " does not tell it (" + dbusError + ")";
}

/** The library logs nothing about a value that it does not know. */
static std::string whyNotKnown(const ToldValue& value)
{
    const auto subject = std::string(service) + " tells a " + property + " ";
    return value.type == "s"
               ? subject + "that the library does not know: " + value.inWords()
               : subject + anotherTypeInWords(value, "s");
}

std::string whyNoApplyTime(sdbusplus::bus_t& bus, const LibraryLog& log)
{
    if (const auto error = log.dbusErrorOf("Error in getting ApplyTime: (");
        !error.empty())
    {
        return notTold(error);
    }
    try
    {
        return whyNotKnown(
            propertyAt(bus,
                       {service, "/xyz/openbmc_project/software/apply_time",
                        "xyz.openbmc_project.Software.ApplyTime"},
                       property));
    }
    catch (const sdbusplus::exception_t& error)
    {
        return notTold(error.name());
    }
}
