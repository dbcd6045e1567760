// SPDX-License-Identifier: Apache-2.0
#include "staged_version.hpp"

#include "log.hpp"
#include "remote_call.hpp"

#include <variant>

namespace wexa::core
{

bool recordStagedVersion(sdbusplus::bus_t& bus, const char* property,
                         const std::string& version)
{
    constexpr auto path = "/xyz/openbmc_project/fwinfo";
    constexpr auto interface = "xyz.openbmc_project.fwinfo.FwInfoManager";

    auto call = newCall(bus, {"xyz.openbmc_project.FwInfoManager", path,
                              "org.freedesktop.DBus.Properties", "Set"});
    call.append(interface, property, std::variant<std::string>(version));

    try
    {
        bus.call(call);
        return true;
    }
    catch (const RemoteError& failure)
    {
        log::error("Error in fwinfo method call for ({}, {}: {}\n", path,
                   interface, failure.what());
        return false;
    }
}

} // namespace wexa::core
