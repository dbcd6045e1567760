// SPDX-License-Identifier: Apache-2.0
#include "systemd.hpp"

#include <cstdlib>

namespace systemd
{

std::string systemctl(const std::string& bus)
{
    const auto isSystems =
        bus == "system" && std::getenv("DBUS_SYSTEM_BUS_ADDRESS") == nullptr;
    return isSystems ? "systemctl" : "systemctl --user";
}

} // namespace systemd
