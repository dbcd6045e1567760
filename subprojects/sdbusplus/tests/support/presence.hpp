// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>

#include <chrono>
#include <string>

namespace support
{

/** Whether a connection of that name is still on the bus. */
inline bool isThere(sdbusplus::bus_t& asking, const std::string& name)
{
    auto m = asking.new_method_call("org.freedesktop.DBus", "/",
                                    "org.freedesktop.DBus", "NameHasOwner");
    m.append(name);
    bool there = false;
    asking.call(m).read(there);
    return there;
}

/** Whether it goes within a second. */
inline bool goes(sdbusplus::bus_t& asking, const std::string& name)
{
    for (int attempt = 0; attempt < 100; ++attempt)
    {
        if (!isThere(asking, name))
        {
            return true;
        }
        asking.wait(std::chrono::milliseconds(10));
    }
    return false;
}

} // namespace support
