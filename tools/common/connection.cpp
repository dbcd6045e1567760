// SPDX-License-Identifier: Apache-2.0
#include "connection.hpp"

#include "failure.hpp"
#include "shortage.hpp"

#include <systemd/sd-bus.h>

#include <cstdlib>
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

/** A bus in words. */
static std::string named(const std::string& address)
{
    if (address != "system")
    {
        return "the bus " + address;
    }
    const auto* const given = secure_getenv("DBUS_SYSTEM_BUS_ADDRESS");
    return std::string("the system bus ") +
           (given == nullptr ? "unix:path=/run/dbus/system_bus_socket" : given);
}

/** @param error  a positive errno */
static Failure unreachable(const std::string& address, int error)
{
    const auto what = "cannot reach " + named(address);
    return shortage::isOne(error)
               ? shortage::failure(what, error)
               : Failure(ExitStatus::callFailed,
                         what + ": " + std::strerror(error),
                         "start it, or name another with --bus");
}

sdbusplus::bus_t connectTo(const std::string& address)
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
        throw unreachable(address, -result);
    }
    return {bus, std::false_type{}};
}
