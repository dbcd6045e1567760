// SPDX-License-Identifier: Apache-2.0
#include "../support/complaint.hpp"
#include "../support/private_bus.hpp"
#include "../support/service.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <string>
#include <variant>

namespace
{

using namespace std::chrono_literals;
using sdbusplus::message_t;
using support::complaintOf;
using support::PrivateBus;
using support::Service;

const std::string unknown =
    ": org.freedesktop.DBus.Error.ServiceUnknown: "
    "The name a.Service was not provided by any .service files";
const std::string reset =
    ": org.freedesktop.DBus.Error.Disconnected: Connection reset by peer";
const std::string timedOut =
    ": org.freedesktop.DBus.Error.Timeout: Connection timed out";

message_t callFor(sdbusplus::bus_t& bus)
{
    return bus.new_method_call(Service::name, "/object", "an.Interface",
                               "Method");
}

class Call : public testing::Test
{
  protected:
    std::string complaint()
    {
        auto m = callFor(bus);
        return complaintOf([&] { bus.call(m); });
    }

    std::string complaintWithoutReply()
    {
        auto m = callFor(bus);
        return complaintOf([&] { bus.call_noreply(m); });
    }

    /** Complaint of a call that is answered by this error. */
    std::string complaintOver(const char* name, const char* text)
    {
        const sd_bus_error error{name, text, 0};
        Service service(daemon, [&](message_t& m) {
            m.new_method_errno(0, &error).method_return();
        });
        return complaint();
    }

    PrivateBus daemon;
    sdbusplus::bus_t bus = daemon.connect();
};

TEST_F(Call, BringsTheReply)
{
    Service service(daemon, [](message_t& m) {
        std::string text;
        m.read(text);
        auto reply = m.new_method_return();
        reply.append(text + " back", uint32_t(1));
        reply.method_return();
    });
    auto m = callFor(bus);
    m.append("there and");
    auto reply = bus.call(m);
    std::string text;
    uint32_t number = 0;
    reply.read(text, number);
    EXPECT_EQ(text, "there and back");
    EXPECT_EQ(number, 1U);
    EXPECT_EQ(reply.get_type(), SD_BUS_MESSAGE_METHOD_RETURN);
    EXPECT_NE(reply.get_sender(), nullptr);
}

TEST_F(Call, WithoutReplyStillWaitsForIt)
{
    std::atomic<bool> answered = false;
    Service service(daemon, [&](message_t& m) {
        answered = true;
        m.new_method_return().method_return();
    });
    auto m = callFor(bus);
    bus.call_noreply(m);
    EXPECT_TRUE(answered);
    auto second = callFor(bus);
    bus.call_noreply(second, 5s);
}

TEST_F(Call, ToAnAbsentServiceSaysSo)
{
    EXPECT_EQ(complaint(), "sd_bus_call" + unknown);
    EXPECT_EQ(complaintWithoutReply(), "sd_bus_call noreply" + unknown);
}

TEST_F(Call, ThrowsTheErrorReply)
{
    EXPECT_EQ(complaintOver("an.Error.Name", "a text"),
              "sd_bus_call: an.Error.Name: a text");
    EXPECT_EQ(complaintOver("an.Error.Name", ""),
              "sd_bus_call: an.Error.Name: ");
    EXPECT_EQ(complaintOver("an.Error.Name", nullptr),
              "sd_bus_call: an.Error.Name");
}

TEST_F(Call, ThrowsTheErrorReplyWithItsErrno)
{
    Service service(daemon, [](message_t& m) {
        m.new_method_errno(EACCES).method_return();
    });
    auto m = callFor(bus);
    try
    {
        bus.call(m);
        FAIL() << "the error reply was not thrown";
    }
    catch (const sdbusplus::exception_t& error)
    {
        EXPECT_EQ(error.get_errno(), EACCES);
        EXPECT_STREQ(error.name(), "org.freedesktop.DBus.Error.AccessDenied");
        EXPECT_STREQ(error.description(), "Permission denied");
    }
}

TEST_F(Call, WaitsNoLongerThanItsTimeOut)
{
    Service silent(daemon, [](message_t&) {});
    const auto start = std::chrono::steady_clock::now();
    auto counted = callFor(bus);
    EXPECT_EQ(complaintOf([&] { bus.call(counted, uint64_t(50'000)); }),
              "sd_bus_call" + timedOut);
    auto spoken = callFor(bus);
    EXPECT_EQ(complaintOf([&] { bus.call(spoken, 50ms); }),
              "sd_bus_call" + timedOut);
    auto dropped = callFor(bus);
    EXPECT_EQ(complaintOf([&] { bus.call_noreply(dropped, 50'000); }),
              "sd_bus_call noreply" + timedOut);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

TEST_F(Call, TakesTheTimeOutOfItsConnectionIfItHasNone)
{
    Service silent(daemon, [](message_t&) {});
    const auto start = std::chrono::steady_clock::now();
    auto* raw = bus.release();
    sd_bus_set_method_call_timeout(raw, 50'000);
    bus = sdbusplus::bus_t(raw, std::false_type());
    bus.set_should_close(true);
    EXPECT_EQ(complaint(), "sd_bus_call" + timedOut);
    EXPECT_EQ(complaintWithoutReply(), "sd_bus_call noreply" + timedOut);
    auto zero = callFor(bus);
    EXPECT_EQ(complaintOf([&] { bus.call(zero, 0); }),
              "sd_bus_call" + timedOut);
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
}

TEST_F(Call, SaysThatItsConnectionIsClosed)
{
    auto m = callFor(bus);
    bus.close();
    EXPECT_EQ(complaintOf([&] { bus.call(m); }),
              "sd_bus_call" + support::notConnected);
    EXPECT_EQ(complaintOf([&] { bus.call_noreply(m); }),
              "sd_bus_call noreply" + support::notConnected);
}

TEST_F(Call, SaysThatTheBusWentAway)
{
    daemon.kill();
    EXPECT_EQ(complaint(), "sd_bus_call" + reset);
    EXPECT_EQ(complaint(), "sd_bus_call" + support::notConnected);
}

TEST_F(Call, NeedsAMessage)
{
    message_t none;
    EXPECT_EQ(complaintOf([&] { bus.call(none); }),
              "sd_bus_call" + support::badArgument);
    EXPECT_EQ(complaintOf([&] { bus.call_noreply(none); }),
              "sd_bus_call noreply" + support::badArgument);
}

TEST_F(Call, OfATextThatIsNotUtf8LosesTheConnection)
{
    auto m = callFor(bus);
    m.append(std::string("\xff"));
    EXPECT_EQ(complaintOf([&] { bus.call(m); }), "sd_bus_call" + reset);
    EXPECT_EQ(complaint(), "sd_bus_call" + support::notConnected);
}

TEST_F(Call, OfAVariantThatIsNotUtf8KeepsTheConnection)
{
    auto m = callFor(bus);
    m.append(std::variant<std::string>("\xff"));
    EXPECT_EQ(complaintOf([&] { bus.call(m); }),
              "sd_bus_call" + support::badMessage);
    EXPECT_EQ(complaint(), "sd_bus_call" + unknown);
}

} // namespace
