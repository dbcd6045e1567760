// SPDX-License-Identifier: Apache-2.0
#include "bus_traffic.hpp"

#include "message_text.hpp"

namespace test
{

constexpr auto markerInterface = "test.Marker";

static std::string text(sd_bus_message* message)
{
    if (sd_bus_message_is_method_call(message, nullptr, nullptr) > 0)
    {
        return callText(message);
    }
    return sd_bus_message_is_signal(message, nullptr, nullptr) > 0 ? "a signal"
                                                                   : "a reply";
}

BusTraffic::BusTraffic(const PrivateBus& bus, std::string watched) :
    monitor(bus.monitor()), marker(bus.connect()), watched(std::move(watched))
{}

std::vector<std::string> BusTraffic::sent()
{
    // What the watched connection sent was dispatched before this signal.
    check(sd_bus_emit_signal(marker.get(), "/", markerInterface, "Reached", ""),
          "emit");
    check(sd_bus_flush(marker.get()), "flush");

    std::vector<std::string> messages;
    for (;;)
    {
        const auto message = nextMessage(monitor.get());
        if (sd_bus_message_is_signal(message.get(), markerInterface,
                                     "Reached") > 0)
        {
            return messages;
        }
        const auto* sender = sd_bus_message_get_sender(message.get());
        if (sender != nullptr && sender == watched)
        {
            messages.push_back(text(message.get()));
        }
    }
}

} // namespace test
