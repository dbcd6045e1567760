// SPDX-License-Identifier: Apache-2.0
#include "systemd.hpp"

#include <cstdlib>

namespace systemd
{

bool isSystems(const std::string& bus)
{
    return bus == "system" && std::getenv("DBUS_SYSTEM_BUS_ADDRESS") == nullptr;
}

std::string systemctl(const std::string& bus)
{
    return isSystems(bus) ? "systemctl" : "systemctl --user";
}

} // namespace systemd
