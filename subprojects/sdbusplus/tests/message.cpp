// SPDX-License-Identifier: Apache-2.0
#include "support/wire.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/message.hpp>

#include <memory>
#include <type_traits>
#include <utility>

/* A message holds a reference to its connection, and the connection of the
 * fixture says when its last reference is gone: so the references of handles
 * can be counted from outside. */

namespace
{

using sdbusplus::message_t;
using support::Wire;

class Message : public testing::Test
{
  protected:
    /** A message that is the only holder of the connection. */
    sd_bus_message* last()
    {
        auto* m = wire.open().release();
        wire.dropBus();
        return m;
    }

    Wire wire;
};

TEST_F(Message, TakesAReferenceOver)
{
    auto* raw = last();
    {
        const message_t owner(raw, std::false_type());
        EXPECT_FALSE(wire.busIsGone());
    }
    EXPECT_TRUE(wire.busIsGone());
}

TEST_F(Message, AddsAReferenceOfItsOwn)
{
    auto* raw = last();
    {
        const message_t second(raw);
    }
    EXPECT_FALSE(wire.busIsGone());
    sd_bus_message_unref(raw);
    EXPECT_TRUE(wire.busIsGone());
}

TEST_F(Message, HoldsOneMoreReferenceInEachCopy)
{
    auto first = std::make_unique<message_t>(last(), std::false_type());
    auto second = std::make_unique<message_t>(*first);
    message_t third;
    third = *second;
    EXPECT_EQ(first->get(), third.get());
    first.reset();
    second.reset();
    EXPECT_FALSE(wire.busIsGone());
    third = message_t();
    EXPECT_TRUE(wire.busIsGone());
}

TEST_F(Message, HandsItsReferenceOnWhenItMoves)
{
    message_t first(last(), std::false_type());
    message_t second(std::move(first));
    EXPECT_FALSE(first);
    message_t third;
    third = std::move(second);
    EXPECT_FALSE(second);
    EXPECT_FALSE(wire.busIsGone());
    third = message_t();
    EXPECT_TRUE(wire.busIsGone());
}

TEST_F(Message, SurvivesAssignmentToItself)
{
    message_t m(last(), std::false_type());
    const auto& same = m;
    m = same;
    EXPECT_TRUE(m);
    EXPECT_FALSE(wire.busIsGone());
}

TEST_F(Message, GivesItsReferenceToWhoeverReleasesIt)
{
    message_t m(last(), std::false_type());
    auto* raw = m.release();
    EXPECT_FALSE(m);
    EXPECT_FALSE(wire.busIsGone());
    sd_bus_message_unref(raw);
    EXPECT_TRUE(wire.busIsGone());
}

TEST_F(Message, CanBeNone)
{
    message_t none;
    EXPECT_FALSE(none);
    EXPECT_EQ(none.get(), nullptr);
    EXPECT_FALSE(message_t(nullptr, std::false_type()));
    const message_t copy = none;
    EXPECT_FALSE(copy);
}

TEST_F(Message, DoesNotComeFromAPointerUnasked)
{
    EXPECT_FALSE((std::is_convertible_v<sd_bus_message*, message_t>));
    EXPECT_TRUE((std::is_nothrow_move_constructible_v<message_t>));
}

TEST_F(Message, SaysWhatSignalItIs)
{
    auto m = wire.received("u", {1, 0, 0, 0});
    EXPECT_STREQ(m.get_member(), "Member");
    EXPECT_STREQ(m.get_signature(), "u");
    EXPECT_EQ(m.get_sender(), nullptr);
}

} // namespace
