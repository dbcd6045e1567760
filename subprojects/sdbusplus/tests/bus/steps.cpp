// SPDX-License-Identifier: Apache-2.0
#include "../support/complaint.hpp"
#include "../support/presence.hpp"
#include "../support/private_bus.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>

#include <string>

namespace
{

using sdbusplus::bus_t;
using support::badArgument;
using support::complaintOf;
using support::notConnected;
using support::PrivateBus;

class BusStep : public testing::Test
{
  protected:
    PrivateBus daemon;
    bus_t bus = daemon.connect();
};

std::string creationOfCall(bus_t& bus, const char* service, const char* path,
                           const char* interface, const char* member)
{
    return complaintOf(
        [&] { bus.new_method_call(service, path, interface, member); });
}

std::string creationOfSignal(bus_t& bus, const char* path,
                             const char* interface, const char* member)
{
    return complaintOf([&] { bus.new_signal(path, interface, member); });
}

TEST_F(BusStep, IsNamedWhereItMakesACall)
{
    const auto refused = "sd_bus_message_new_method_call" + badArgument;
    bus_t none(nullptr);
    EXPECT_EQ(creationOfCall(none, "a.Name", "/a", "a.Type", "M"),
              "sd_bus_message_new_method_call" + notConnected);
    EXPECT_EQ(creationOfCall(bus, "", "/a", "a.Type", "M"), refused);
    EXPECT_EQ(creationOfCall(bus, "a.Name", "", "a.Type", "M"), refused);
    EXPECT_EQ(creationOfCall(bus, "a.Name", "a", "a.Type", "M"), refused);
    EXPECT_EQ(creationOfCall(bus, "a.Name", nullptr, "a.Type", "M"), refused);
    EXPECT_EQ(creationOfCall(bus, "a.Name", "/a", "noDot", "M"), refused);
    EXPECT_EQ(creationOfCall(bus, "a.Name", "/a", "a.Type", ""), refused);
    EXPECT_EQ(creationOfCall(bus, "a.Name", "/a", "a.Type", nullptr), refused);
    EXPECT_EQ(creationOfCall(bus, "a.Name", "/a", "a.Type", "M"),
              "no complaint");
}

TEST_F(BusStep, IsNamedWhereItMakesASignal)
{
    const auto refused = "sd_bus_message_new_signal" + badArgument;
    bus_t none(nullptr);
    EXPECT_EQ(creationOfSignal(none, "/a", "a.Type", "M"),
              "sd_bus_message_new_signal" + notConnected);
    EXPECT_EQ(creationOfSignal(bus, "a", "a.Type", "M"), refused);
    EXPECT_EQ(creationOfSignal(bus, "/a", "noDot", "M"), refused);
    EXPECT_EQ(creationOfSignal(bus, "/a", "a.Type", ""), refused);
    EXPECT_EQ(creationOfSignal(bus, "/a", "a.Type", "M"), "no complaint");
}

TEST_F(BusStep, IsNamedWhereItNeedsAConnection)
{
    bus_t none(nullptr);
    EXPECT_EQ(complaintOf([&] { none.flush(); }), "sd_bus_flush" + badArgument);
    EXPECT_EQ(complaintOf([&] { none.process(); }),
              "sd_bus_process" + badArgument);
    EXPECT_EQ(complaintOf([&] { none.process_discard(); }),
              "sd_bus_process discard" + badArgument);
    EXPECT_EQ(complaintOf([&] { none.request_name("a.Name"); }),
              "sd_bus_request_name" + badArgument);
}

TEST_F(BusStep, IsNamedWhereItNeedsAnOpenConnection)
{
    bus.close();
    EXPECT_EQ(complaintOf([&] { bus.flush(); }), "sd_bus_flush" + notConnected);
    EXPECT_EQ(complaintOf([&] { bus.request_name("a.Name"); }),
              "sd_bus_request_name" + notConnected);
    EXPECT_EQ(
        complaintOf([&] { bus.new_signal("/a", "a.Type", "M").signal_send(); }),
        "sd_bus_send" + notConnected);
}

TEST_F(BusStep, IsNamedWhereANameIsTaken)
{
    bus.request_name("a.Name");
    EXPECT_TRUE(support::isThere(bus, "a.Name"));
    auto other = daemon.connect();
    EXPECT_EQ(complaintOf([&] { other.request_name("a.Name"); }),
              "sd_bus_request_name: "
              "org.freedesktop.DBus.Error.FileExists: File exists");
}

} // namespace
