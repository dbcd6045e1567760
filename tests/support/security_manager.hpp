// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scripted_service.hpp"

#include <string>

/** The security manager as the library must address it. */
namespace test::security_manager
{

constexpr auto service = "xyz.openbmc_project.SecurityManager";
constexpr auto path = "/xyz/openbmc_project/security";
constexpr auto interface = "xyz.openbmc_project.security.SecurityManager";

inline Method method(const std::string& member, Reply reply)
{
    return {path, interface, member, std::move(reply)};
}

/** The call that asks for the verification of an image, as sent. */
inline std::string call(const std::string& member, const std::string& imagePath)
{
    return std::string(service) + ' ' + path + ' ' + interface + '.' + member +
           "(s) \"" + imagePath + '"';
}

/** The line that reports a failed call. */
inline std::string failure(const std::string& what)
{
    return err("Error in security method call for "
               "(/xyz/openbmc_project/security, "
               "xyz.openbmc_project.security.SecurityManager: " +
               what);
}

} // namespace test::security_manager
