// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_bus.hpp"

#include <sdbusplus/bus.hpp>

#include <chrono>
#include <functional>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>

namespace support
{

/** A service in a thread of its own: answer is run for every call that comes,
 *  and may leave it unanswered. */
class Service
{
  public:
    using Answer = std::function<void(sdbusplus::message_t&)>;

    static constexpr auto name = "a.Service";

    Service(const PrivateBus& bus, Answer function) :
        connection(bus.connect()), answer(std::move(function))
    {
        connection.request_name(name);
        thread = std::jthread([this](std::stop_token stop) { serve(stop); });
    }

  private:
    void serve(std::stop_token stop)
    {
        while (!stop.stop_requested())
        {
            auto m = connection.process();
            if (m && m.get_type() == SD_BUS_MESSAGE_METHOD_CALL)
            {
                answer(m);
                connection.flush();
            }
            connection.wait(std::chrono::milliseconds(5));
        }
    }

    sdbusplus::bus_t connection;
    Answer answer;
    std::jthread thread;
};

} // namespace support
