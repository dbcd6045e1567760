// SPDX-License-Identifier: Apache-2.0
#include "apply_time.hpp"

#include "../common/log.hpp"
#include "remote_property.hpp"

#include <array>

namespace wexa::core
{

void addApplyTime(sdbusplus::bus_t& bus, UploadResult& result)
{
    constexpr auto path = "/xyz/openbmc_project/software/apply_time";
    constexpr auto interface = "xyz.openbmc_project.Software.ApplyTime";
    const std::string enumeration =
        "xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes.";
    constexpr std::array known{"OnReset", "Immediate", "OnStartUpdateRequest"};

    auto call = newGetCall(bus, "xyz.openbmc_project.Settings", path, interface,
                           "RequestedApplyTime");
    try
    {
        const auto requested = propertyFrom<std::string>(bus, call);
        for (const auto* name : known)
        {
            if (requested == enumeration + name)
            {
                result["applyTime"] = name;
            }
        }
    }
    catch (const RemoteError& failure)
    {
        log::error("Error in getting ApplyTime: ({}, {}: {}\n", path, interface,
                   failure.what());
    }
}

} // namespace wexa::core
