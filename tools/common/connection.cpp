// SPDX-License-Identifier: Apache-2.0
#include "connection.hpp"

#include "failure.hpp"

#include <systemd/sd-bus.h>

#include <cstring>

static int openAddress(sd_bus** bus, const std::string& address)
{
    auto result = sd_bus_new(bus);
    if (result >= 0)
    {
        result = sd_bus_set_address(*bus, address.c_str());
    }
    if (result >= 0)
    {
        result = sd_bus_set_bus_client(*bus, 1);
    }
    return result < 0 ? result : sd_bus_start(*bus);
}

sdbusplus::bus::bus connectTo(const std::string& address)
{
    sd_bus* bus = nullptr;
    auto result = address == "system" ? sd_bus_open_system(&bus)
                                      : openAddress(&bus, address);
    // Only a connection that knows its name is through the handshake.
    const char* name = nullptr;
    if (result >= 0)
    {
        result = sd_bus_get_unique_name(bus, &name);
    }
    if (result < 0)
    {
        sd_bus_unref(bus);
        throw Failure(ExitStatus::callFailed,
                      "cannot reach the bus " + address + ": " +
                          std::strerror(-result),
                      "start it, or name another with --bus");
    }
    return {bus, std::false_type{}};
}
