// SPDX-License-Identifier: Apache-2.0
#include "support/complaint.hpp"
#include "support/wire.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/message.hpp>

#include <cerrno>
#include <memory>
#include <type_traits>
#include <utility>

/* A message holds a reference to its connection, and the connection of the
 * fixture says when its last reference is gone: so the references of handles
 * can be counted from outside. */

namespace
{

using sdbusplus::message_t;
using support::badArgument;
using support::complaintOf;
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

    /** A call as a service receives it. */
    message_t call()
    {
        sd_bus_message* m = nullptr;
        sd_bus_message_new_method_call(wire.bus(), &m, ":1.1", "/object",
                                       "an.Interface", "Method");
        return Wire::seal(message_t(m, std::false_type()));
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

TEST_F(Message, GivesItsReferenceUpWhenItIsReleased)
{
    message_t m(last(), std::false_type());
    auto* raw = m.release();
    EXPECT_FALSE(m);
    EXPECT_FALSE(wire.busIsGone());
    sd_bus_message_unref(raw);
    EXPECT_TRUE(wire.busIsGone());
}

TEST_F(Message, CanBeNull)
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
    EXPECT_STREQ(m.get_path(), "/object");
    EXPECT_STREQ(m.get_interface(), "an.Interface");
    EXPECT_STREQ(m.get_member(), "Member");
    EXPECT_STREQ(m.get_signature(), "u");
    EXPECT_EQ(m.get_sender(), nullptr);
    EXPECT_EQ(m.get_destination(), nullptr);
    EXPECT_EQ(m.get_type(), SD_BUS_MESSAGE_SIGNAL);
    EXPECT_TRUE(m.is_signal("an.Interface", "Member"));
    EXPECT_FALSE(m.is_signal("an.Interface", "Other"));
    EXPECT_FALSE(m.is_method_call("an.Interface", "Member"));
    EXPECT_FALSE(m.is_method_error());
    EXPECT_EQ(m.get_errno(), 0);
}

TEST_F(Message, SaysWhatCallItIs)
{
    auto m = call();
    EXPECT_STREQ(m.get_destination(), ":1.1");
    EXPECT_EQ(m.get_type(), SD_BUS_MESSAGE_METHOD_CALL);
    EXPECT_TRUE(m.is_method_call("an.Interface", "Method"));
    EXPECT_FALSE(m.is_signal("an.Interface", "Method"));
}

TEST_F(Message, MakesAReplyToACall)
{
    auto reply = call().new_method_return();
    EXPECT_EQ(reply.get_type(), SD_BUS_MESSAGE_METHOD_RETURN);
    EXPECT_FALSE(reply.is_method_error());
}

TEST_F(Message, MakesAnErrorReplyToACall)
{
    auto reply = call().new_method_errno(EACCES);
    EXPECT_TRUE(reply.is_method_error());
    EXPECT_EQ(reply.get_errno(), EACCES);
    EXPECT_STREQ(reply.get_error()->name,
                 "org.freedesktop.DBus.Error.AccessDenied");
}

TEST_F(Message, PrefersAGivenErrorToANumber)
{
    const sd_bus_error given{"an.Error.Name", "a text", 0};
    auto reply = call().new_method_errno(EACCES, &given);
    EXPECT_STREQ(reply.get_error()->name, "an.Error.Name");
    EXPECT_STREQ(reply.get_error()->message, "a text");
}

TEST_F(Message, NamesTheStepThatNeedsAMessage)
{
    message_t none;
    EXPECT_EQ(complaintOf([&] { none.get_type(); }),
              "sd_bus_message_get_type" + badArgument);
    EXPECT_EQ(complaintOf([&] { none.new_method_return(); }),
              "sd_bus_message_new_method_return" + badArgument);
    EXPECT_EQ(complaintOf([&] { none.new_method_errno(EIO); }),
              "sd_bus_message_new_method_errno" + badArgument);
    EXPECT_EQ(complaintOf([&] { none.method_return(); }),
              "sd_bus_send" + badArgument);
    EXPECT_EQ(complaintOf([&] { none.signal_send(); }),
              "sd_bus_send" + badArgument);
}

TEST_F(Message, CannotBeAnsweredWhereItIsNoCall)
{
    auto m = wire.received("", {});
    EXPECT_EQ(complaintOf([&] { m.new_method_return(); }),
              "sd_bus_message_new_method_return" + badArgument);
}

TEST_F(Message, TakesNoMessageForAnErrorAsSdBusDoes)
{
    EXPECT_TRUE(message_t().is_method_error());
}

} // namespace
