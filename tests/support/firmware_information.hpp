// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scripted_service.hpp"

#include <string>

/** The firmware-information service as the library must address it. */
namespace test::firmware_information
{

constexpr auto service = "xyz.openbmc_project.FwInfoManager";
constexpr auto path = "/xyz/openbmc_project/fwinfo";
constexpr auto interface = "org.freedesktop.DBus.Properties";

inline Method set(Reply reply)
{
    return {path, interface, "Set", std::move(reply)};
}

/** The call that records a version, as sent. */
inline std::string call(const std::string& property, const std::string& version)
{
    return std::string(service) + ' ' + path + ' ' + interface +
           ".Set(ssv) \"xyz.openbmc_project.fwinfo.FwInfoManager\" \"" +
           property + "\" <s: \"" + version + "\">";
}

/** The line that reports a failed call. */
inline std::string failure(const std::string& what)
{
    return err("Error in fwinfo method call for (/xyz/openbmc_project/fwinfo, "
               "xyz.openbmc_project.fwinfo.FwInfoManager: " +
               what);
}

} // namespace test::firmware_information
