// SPDX-License-Identifier: Apache-2.0
#include "support/presence.hpp"
#include "support/private_bus.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>

#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace
{

using sdbusplus::bus_t;
using support::goes;
using support::isThere;
using support::PrivateBus;

class Bus : public testing::Test
{
  protected:
    PrivateBus daemon;
    bus_t bus = daemon.connect();
};

TEST_F(Bus, TakesAReferenceOverAndClosesNothingElse)
{
    auto* raw = daemon.open();
    bus_t owner(sd_bus_ref(raw), std::false_type());
    const auto name = owner.get_unique_name();
    owner = bus_t(nullptr);
    EXPECT_TRUE(isThere(bus, name));
    bus_t last(raw, std::false_type());
    last = bus_t(nullptr);
    EXPECT_TRUE(goes(bus, name));
}

TEST_F(Bus, AddsAReferenceOfItsOwn)
{
    auto* raw = daemon.open();
    auto second = std::make_optional<bus_t>(raw);
    const auto name = second->get_unique_name();
    second.reset();
    EXPECT_TRUE(isThere(bus, name));
    sd_bus_unref(raw);
    EXPECT_TRUE(goes(bus, name));
}

TEST_F(Bus, ClosesTheConnectionOfOthersIfToldTo)
{
    auto* raw = daemon.open();
    auto closing = std::make_optional<bus_t>(raw);
    const auto name = closing->get_unique_name();
    closing->set_should_close(true);
    closing.reset();
    EXPECT_TRUE(goes(bus, name));
    EXPECT_EQ(sd_bus_is_open(raw), 0);
    sd_bus_unref(raw);
}

TEST_F(Bus, KeepsTheConnectionForOthersIfToldTo)
{
    auto* raw = daemon.open();
    auto leaving = std::make_optional<bus_t>(raw);
    leaving->set_should_close(true);
    leaving->set_should_close(false);
    leaving.reset();
    EXPECT_EQ(sd_bus_is_open(raw), 1);
    sd_bus_unref(raw);
}

TEST_F(Bus, HandsItsReferenceOnWhenItMoves)
{
    const auto name = bus.get_unique_name();
    bus_t moved(std::move(bus));
    EXPECT_EQ(moved.get_unique_name(), name);
    EXPECT_EQ(bus.release(), nullptr);
    bus = std::move(moved);
    EXPECT_EQ(bus.get_unique_name(), name);
    EXPECT_FALSE(std::is_copy_constructible_v<bus_t>);
    EXPECT_FALSE(std::is_default_constructible_v<bus_t>);
}

TEST_F(Bus, WaitsUntilTheConnectionIsUp)
{
    auto* raw = daemon.open();
    EXPECT_EQ(sd_bus_is_ready(raw), 0);
    bus_t waiting(raw, std::false_type());
    EXPECT_EQ(sd_bus_is_ready(raw), 1);
    EXPECT_EQ(waiting.get_unique_name().substr(0, 1), ":");
    waiting.set_should_close(true);
}

TEST_F(Bus, RefusesAConnectionThatWasNeverStarted)
{
    sd_bus* raw = nullptr;
    ASSERT_EQ(sd_bus_new(&raw), 0);
    EXPECT_THROW(bus_t{raw}, std::logic_error);
    EXPECT_THROW((bus_t{raw, std::false_type()}), std::logic_error);
}

TEST_F(Bus, CanHoldNoConnection)
{
    bus_t none(nullptr);
    EXPECT_EQ(none.release(), nullptr);
    EXPECT_EQ(bus_t(nullptr, std::false_type()).release(), nullptr);
    EXPECT_THROW(none.get_unique_name(), std::logic_error);
    EXPECT_NO_THROW(none.close());
    EXPECT_NO_THROW(none.wait(0));
    EXPECT_LT(none.get_fd(), 0);
}

} // namespace
