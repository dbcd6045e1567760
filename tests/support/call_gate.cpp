// SPDX-License-Identifier: Apache-2.0
#include "call_gate.hpp"

namespace test
{

void CallGate::awaitCall(const std::string& member)
{
    for (;;)
    {
        const auto message = nextMessage(monitor.get());
        if (sd_bus_message_is_method_call(message.get(), nullptr,
                                          member.c_str()) > 0)
        {
            caller = sd_bus_message_get_sender(message.get());
            check(sd_bus_message_get_cookie(message.get(), &call), "cookie");
            return;
        }
    }
}

void CallGate::awaitAnswer()
{
    for (;;)
    {
        const auto message = nextMessage(monitor.get());
        const auto* const receiver =
            sd_bus_message_get_destination(message.get());
        std::uint64_t answered = 0;
        if (receiver != nullptr && receiver == caller &&
            sd_bus_message_get_reply_cookie(message.get(), &answered) >= 0 &&
            answered == call)
        {
            return;
        }
    }
}

} // namespace test
