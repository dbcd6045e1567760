// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** systemd's manager, as the tool asks it. */
namespace systemd
{

constexpr auto service = "org.freedesktop.systemd1";
constexpr auto path = "/org/freedesktop/systemd1";
constexpr auto managerInterface = "org.freedesktop.systemd1.Manager";

/** A match rule for a signal of its manager. */
inline std::string signalRule(const std::string& member)
{
    return "type='signal',sender='org.freedesktop.systemd1',"
           "interface='org.freedesktop.systemd1.Manager',member='" +
           member + "'";
}

/** Whether this is the systemd that runs the system, and not that of a
 *  simulated BMC.
 *
 *  @param bus  as `connectTo` takes it
 */
bool isSystems(const std::string& bus);

/** The command that reaches this systemd, `systemctl` or `systemctl --user`.
 *
 *  A bus that is not the system's own has a manager that is not the system's
 *  own either: in a simulated BMC, `systemctl` alone would reach the host's.
 */
std::string systemctl(const std::string& bus);

} // namespace systemd
