// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bus_traffic.hpp"
#include "private_bus.hpp"
#include "scripted_service.hpp"
#include "transcript.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace test
{

/** A library object on a bus of its own, which is recorded.
 *
 *  A test offers services, calls an operation, and compares result, `events`
 *  (both streams and the calls that services received, in order) and `sent`
 *  (all that went over the bus).
 */
class LibraryTest : public testing::Test
{
  protected:
    LibraryTest();

    /** Starts a service that lives until the test ends or the next `offer`
     *  of a method list under the same name.
     */
    void offer(const std::string& name, std::vector<Method> methods);

    /** Events so far; forgets them. */
    std::vector<std::string> events()
    {
        return transcript.events();
    }

    /** Messages that the library sent so far; forgets them. */
    std::vector<std::string> sent()
    {
        return traffic.sent();
    }

    /** Shortens the time that a call waits for its reply. */
    void setTimeout(std::chrono::microseconds timeout);

    /** The unit name that `manager` remembers, told by its log; the events so
     *  far are forgotten.
     */
    std::string rememberedUnit();

    /** A JobRemoved signal of systemd's manager, as it is received. */
    sdbusplus::message_t jobRemoved(std::uint32_t id, const std::string& unit,
                                    const std::string& result);

    /** A received signal with a body of the test's choice. */
    sdbusplus::message_t
    signalWith(const std::function<void(sd_bus_message*)>& append);

    PrivateBus bus;
    Transcript transcript;
    Connection raw = bus.connect();
    sdbusplus::bus_t connection{raw.get()};
    BusTraffic traffic;
    std::map<std::string, std::unique_ptr<ScriptedService>> services;
    wexa::core::FWManagerInternal manager{connection};
};

/** A connection on which no method call can be created, and the text of the
 *  exception that says so.
 */
sdbusplus::bus_t unconnected();
constexpr auto creationFailure =
    "sd_bus_message_new_method_call: System.Error.ENOTCONN: "
    "Transport endpoint is not connected";

/** Runs `operation`, which must throw an `Exception`; returns its text. */
template <typename Exception, typename Operation>
std::string thrownText(Operation&& operation)
{
    try
    {
        operation();
    }
    catch (const Exception& thrown)
    {
        return thrown.what();
    }
    return "nothing was thrown";
}

} // namespace test
