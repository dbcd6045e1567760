// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** systemd's manager, as the tool asks it. */
namespace systemd
{

constexpr auto service = "org.freedesktop.systemd1";
constexpr auto path = "/org/freedesktop/systemd1";
constexpr auto managerInterface = "org.freedesktop.systemd1.Manager";

/** A match rule for its coming to the bus and leaving it. */
constexpr auto ownerRule =
    "type='signal',sender='org.freedesktop.DBus',"
    "member='NameOwnerChanged',arg0='org.freedesktop.systemd1'";

/** A match rule for a signal of its manager. */
inline std::string signalRule(const std::string& member)
{
    return "type='signal',sender='org.freedesktop.systemd1',"
           "interface='org.freedesktop.systemd1.Manager',member='" +
           member + "'";
}

} // namespace systemd
