// SPDX-License-Identifier: Apache-2.0
#include "private_bus.hpp"

#include <cstdlib>
#include <string_view>
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

static bool isBroker()
{
    const auto* const wanted = std::getenv("WEXA_TEST_BUS");
    return wanted != nullptr && std::string_view(wanted) == "dbus-broker";
}

PrivateBus::PrivateBus() :
    program(isBroker() ? startDbusBroker(directory.path())
                       : startDbusDaemon(directory.path()))
{}

Connection PrivateBus::connect() const
{
    return connectTo(address());
}

Connection PrivateBus::monitor() const
{
    auto connection = connectTo(address(), true);
    check(sd_bus_call_method(connection.get(), "org.freedesktop.DBus",
                             "/org/freedesktop/DBus",
                             "org.freedesktop.DBus.Monitoring", "BecomeMonitor",
                             nullptr, nullptr, "asu", 0, 0U),
          "BecomeMonitor");
    return connection;
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

} // namespace test
