// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>

namespace support
{

/** Handles everything that was on its way to bus. */
inline void settle(sdbusplus::bus_t& bus)
{
    auto ping = bus.new_method_call("org.freedesktop.DBus", "/",
                                    "org.freedesktop.DBus.Peer", "Ping");
    bus.call_noreply(ping);
    while (bus.process_discard())
    {
    }
}

} // namespace support
