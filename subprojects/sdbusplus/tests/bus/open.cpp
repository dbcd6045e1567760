// SPDX-License-Identifier: Apache-2.0
#include "../support/presence.hpp"
#include "../support/private_bus.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>

#include <cstdlib>
#include <optional>
#include <string>

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
        setenv("DBUS_SESSION_BUS_ADDRESS", daemon.address().c_str(), 1);
        setenv("DBUS_SYSTEM_BUS_ADDRESS", daemon.address().c_str(), 1);
    }

    ~OpenedBus() override
    {
        unsetenv("DBUS_SESSION_BUS_ADDRESS");
        unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    }

    PrivateBus daemon;
    bus_t bus = daemon.connect();

    /** Whether two of them are two connections, and each is closed with its
     *  object although a message still refers to it. */
    void isOneOfItsOwn(bus_t (*open)())
    {
        auto first = std::make_optional(open());
        auto second = open();
        const auto name = first->get_unique_name();
        EXPECT_NE(name, second.get_unique_name());
        auto m = first->new_signal("/a", "a.Type", "M");
        first.reset();
        EXPECT_TRUE(goes(bus, name));
        EXPECT_TRUE(isThere(bus, second.get_unique_name()));
    }
};

TEST_F(OpenedBus, OfTheUserIsAConnectionOfItsOwn)
{
    isOneOfItsOwn(sdbusplus::bus::new_user);
}

TEST_F(OpenedBus, OfTheSystemIsAConnectionOfItsOwn)
{
    isOneOfItsOwn(sdbusplus::bus::new_system);
}

TEST_F(OpenedBus, ByDefaultIsSharedWithinAThreadAndNotClosed)
{
    auto first = std::make_optional(sdbusplus::bus::new_default());
    const auto name = first->get_unique_name();
    EXPECT_EQ(sdbusplus::bus::new_default().get_unique_name(), name);
    auto m = first->new_signal("/a", "a.Type", "M");
    first.reset();
    EXPECT_TRUE(isThere(bus, name));
}

TEST_F(OpenedBus, HoldsNoConnectionIfNoBusListens)
{
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    auto none = sdbusplus::bus::new_user();
    EXPECT_EQ(none.release(), nullptr);
}

} // namespace
