// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scripted_service.hpp"

#include <string>

/** The settings service as the library must address it. */
namespace test::settings
{

constexpr auto service = "xyz.openbmc_project.Settings";
constexpr auto path = "/xyz/openbmc_project/software/apply_time";
constexpr auto interface = "org.freedesktop.DBus.Properties";

inline Method get(Reply reply)
{
    return {path, interface, "Get", std::move(reply)};
}

/** The call that asks for the apply time, as sent. */
inline std::string call()
{
    return std::string(service) + ' ' + path + ' ' + interface +
           R"(.Get(ss) "xyz.openbmc_project.Software.ApplyTime" )"
           R"("RequestedApplyTime")";
}

/** The line that reports a failed call. */
inline std::string failure(const std::string& what)
{
    return err("Error in getting ApplyTime: "
               "(/xyz/openbmc_project/software/apply_time, "
               "xyz.openbmc_project.Software.ApplyTime: " +
               what);
}

} // namespace test::settings
