// SPDX-License-Identifier: Apache-2.0
#include "../support/private_bus.hpp"
#include "../support/settle.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>

#include <chrono>
#include <cstdint>

namespace
{

using namespace std::chrono_literals;
using sdbusplus::bus_t;
using support::PrivateBus;

class Processing : public testing::Test
{
  protected:
    PrivateBus daemon;
    bus_t bus = daemon.connect();
};

/** Sends a message that no handler takes, and waits until it has arrived. */
void greet(bus_t& from, bus_t& to)
{
    support::settle(to);
    auto m = from.new_method_call(to.get_unique_name().c_str(), "/a", "a.Type",
                                  "Hello");
    sd_bus_message_set_expect_reply(m.get(), 0);
    m.method_return();
    support::settle(from);
    to.wait(5s);
}

TEST_F(Processing, ReturnsAMessageThatNoMatchHandled)
{
    auto other = daemon.connect();
    greet(other, bus);
    auto received = bus.process();
    ASSERT_TRUE(received);
    EXPECT_TRUE(received.is_method_call("a.Type", "Hello"));
    EXPECT_FALSE(bus.process());
}

TEST_F(Processing, SaysWhetherThereWasSomethingToDo)
{
    auto other = daemon.connect();
    greet(other, bus);
    EXPECT_TRUE(bus.process_discard());
    EXPECT_FALSE(bus.process_discard());
}

TEST_F(Processing, WaitsNoLongerThanItIsTold)
{
    support::settle(bus);
    const auto start = std::chrono::steady_clock::now();
    bus.wait(uint64_t(20'000));
    bus.wait(20ms);
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, 40ms);
    EXPECT_LT(waited, 5s);
}

TEST_F(Processing, HasADescriptorToWaitFor)
{
    EXPECT_GE(bus.get_fd(), 0);
}

} // namespace
