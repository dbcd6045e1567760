// SPDX-License-Identifier: Apache-2.0
#include "private_bus.hpp"

#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace test
{

int check(int result, const char* what)
{
    if (result < 0)
    {
        throw std::system_error(-result, std::generic_category(), what);
    }
    return result;
}

static std::unique_ptr<BusProgram> startBus(const std::string& directory)
{
    const auto* const wanted = std::getenv("WEXA_TEST_BUS");
    const std::string name = wanted == nullptr ? "dbus-daemon" : wanted;
    if (name == "dbus-daemon")
    {
        return startDbusDaemon(directory);
    }
    if (name == "dbus-broker")
    {
        return startDbusBroker(directory);
    }
    throw std::runtime_error("WEXA_TEST_BUS is " + name +
                             ", not dbus-daemon or dbus-broker");
}

PrivateBus::PrivateBus() : busProgram(startBus(directory.path())) {}

Connection PrivateBus::connect() const
{
    return connectTo(address());
}

Connection PrivateBus::monitor() const
{
    return monitorAt(address());
}

Connection monitorAt(const std::string& address)
{
    auto connection = connectTo(address, true);
    check(sd_bus_call_method(connection.get(), "org.freedesktop.DBus",
                             "/org/freedesktop/DBus",
                             "org.freedesktop.DBus.Monitoring", "BecomeMonitor",
                             nullptr, nullptr, "asu", 0, 0U),
          "BecomeMonitor");
    return connection;
}

Message nextMessage(sd_bus* connection)
{
    constexpr std::uint64_t patience = 60'000'000;
    for (;;)
    {
        sd_bus_message* message = nullptr;
        const auto worked =
            check(sd_bus_process(connection, &message), "sd_bus_process");
        if (message != nullptr)
        {
            return {message, &sd_bus_message_unref};
        }
        if (worked == 0 &&
            check(sd_bus_wait(connection, patience), "sd_bus_wait") == 0)
        {
            throw std::runtime_error("no message comes over the bus");
        }
    }
}

Connection connectTo(const std::string& address, bool asMonitor)
{
    sd_bus* made = nullptr;
    check(sd_bus_new(&made), "sd_bus_new");
    Connection connection{made};
    check(sd_bus_set_monitor(made, static_cast<int>(asMonitor)),
          "sd_bus_set_monitor");
    check(sd_bus_set_address(made, address.c_str()), "sd_bus_set_address");
    check(sd_bus_set_bus_client(made, 1), "sd_bus_set_bus_client");
    check(sd_bus_start(made), "sd_bus_start");
    // Saying who we are ends the handshake.
    const char* name = nullptr;
    check(sd_bus_get_unique_name(made, &name), "sd_bus_get_unique_name");
    return connection;
}

void processUntil(sd_bus* connection, const std::function<bool()>& isDone)
{
    constexpr std::uint64_t patience = 20'000'000;
    while (!isDone())
    {
        if (check(sd_bus_process(connection, nullptr), "sd_bus_process") == 0 &&
            check(sd_bus_wait(connection, patience), "sd_bus_wait") == 0)
        {
            throw std::runtime_error("nothing comes over the bus");
        }
    }
}

} // namespace test
