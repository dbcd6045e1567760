// SPDX-License-Identifier: Apache-2.0
#include "connection.hpp"

#include "failure.hpp"
#include "shortage.hpp"

#include <systemd/sd-bus.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>

using std::chrono::steady_clock;

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

/** Lets the handshake pass, within the time that a call may take: sd-bus itself
 *  waits for a bus that says nothing a minute and a half.
 */
static int awaitHandshake(sd_bus* bus)
{
    using std::chrono::microseconds;
    std::uint64_t limit = 0;
    auto result = sd_bus_get_method_call_timeout(bus, &limit);
    const auto deadline = steady_clock::now() + microseconds(limit);
    while (result >= 0 && sd_bus_is_ready(bus) == 0)
    {
        result = sd_bus_process(bus, nullptr);
        const auto left = std::chrono::duration_cast<microseconds>(
            deadline - steady_clock::now());
        if (left.count() <= 0)
        {
            return -ETIMEDOUT;
        }
        if (result == 0)
        {
            result = sd_bus_wait(bus, static_cast<std::uint64_t>(left.count()));
        }
    }
    return result;
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
    if (result >= 0)
    {
        result = awaitHandshake(bus);
    }
    if (result < 0)
    {
        sd_bus_unref(bus);
        throw unreachable(address, -result);
    }
    return {bus, std::false_type{}};
}
