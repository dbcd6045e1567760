// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_bus.hpp"

#include <systemd/sd-bus.h>

#include <functional>
#include <stop_token>
#include <thread>
#include <utility>

namespace support
{

/** A service in a thread of its own: answer is run for every call that comes,
 *  and may leave it unanswered. */
class Service
{
  public:
    using Answer = std::function<void(sd_bus_message*)>;

    static constexpr auto name = "a.Service";

    Service(const PrivateBus& bus, Answer function) :
        connection(bus.open()), answer(std::move(function))
    {
        sd_bus_add_filter(connection, nullptr, receive, this);
        sd_bus_request_name(connection, name, 0);
        thread = std::jthread([this](std::stop_token stop) { serve(stop); });
    }

    ~Service()
    {
        thread.request_stop();
        thread.join();
        sd_bus_flush_close_unref(connection);
    }

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

  private:
    static int receive(sd_bus_message* m, void* service, sd_bus_error*)
    {
        if (sd_bus_message_is_method_call(m, nullptr, nullptr) > 0)
        {
            static_cast<Service*>(service)->answer(m);
        }
        return 1;
    }

    void serve(std::stop_token stop)
    {
        constexpr auto aMoment = 5000;
        while (!stop.stop_requested())
        {
            if (sd_bus_process(connection, nullptr) == 0)
            {
                sd_bus_wait(connection, aMoment);
            }
        }
    }

    sd_bus* connection;
    Answer answer;
    std::jthread thread;
};

} // namespace support
