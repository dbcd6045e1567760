// SPDX-License-Identifier: Apache-2.0
#include "match.hpp"

namespace bmcsim::dbus
{

Match::Match(const Connection& connection, const std::string& rule,
             std::function<void(Message&)> hear) :
    hear(std::make_unique<Hear>(std::move(hear)))
{
    sd_bus_slot* made = nullptr;
    require(sd_bus_add_match(connection.get(), &made, rule.c_str(), heard,
                             this->hear.get()),
            "cannot wait for signals");
    slot.reset(made);
}

int Match::heard(sd_bus_message* signal, void* hear, sd_bus_error*)
{
    try
    {
        Message message(sd_bus_message_ref(signal));
        (*static_cast<Hear*>(hear))(message);
    }
    catch (const std::exception&)
    {
        // No exception may pass through sd-bus.
    }
    return 0;
}

} // namespace bmcsim::dbus
