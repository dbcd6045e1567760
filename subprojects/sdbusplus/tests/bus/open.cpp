// SPDX-License-Identifier: Apache-2.0
#include "../support/presence.hpp"
#include "../support/private_bus.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>

#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

namespace
{

using sdbusplus::bus_t;
using support::goes;
using support::isThere;
using support::PrivateBus;

class OpenedBus : public testing::Test
{
  protected:
    OpenedBus()
    {
        setAddresses(daemon.address());
    }

    /** Which bus is the default depends on who runs the tests. */
    static void setAddresses(const std::string& address)
    {
        setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
        setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
    }

    ~OpenedBus() override
    {
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
        unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    }

    PrivateBus daemon;
    bus_t bus = daemon.connect();
};

TEST_F(OpenedBus, ByDefaultIsSharedWithinAThreadAndNotClosed)
{
    auto first = std::make_optional(sdbusplus::bus::new_default());
    const auto name = first->get_unique_name();
    EXPECT_EQ(sdbusplus::bus::new_default().get_unique_name(), name);
    auto m = first->new_method_call("a.Name", "/a", "a.Type", "M");
    first.reset();
    EXPECT_TRUE(isThere(bus, name));
}

TEST_F(OpenedBus, IsNoneWhereNobodyListens)
{
    setAddresses("unix:path=/nonexistent");
    // A thread that has none yet.
    std::jthread([] {
        EXPECT_THROW(sdbusplus::bus::new_default().get_unique_name(),
                     std::logic_error);
    });
}

} // namespace
