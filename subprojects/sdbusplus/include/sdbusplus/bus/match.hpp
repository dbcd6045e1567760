// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>
#include <sdbusplus/message.hpp>

#include <functional>
#include <memory>
#include <string>

namespace sdbusplus
{

namespace bus::match
{

/** A subscription that lasts as long as the object.
 *
 *  The callback runs while the connection is processed. It must not throw:
 *  sd-bus, which is C, lies between it and who processes.
 */
struct match
{
    using callback_t = std::function<void(message_t&)>;

    match(bus_t& bus, const char* rule, callback_t callback) :
        callback(std::make_unique<callback_t>(std::move(callback)))
    {
        sd_bus_slot* made = nullptr;
        sd_bus_add_match(bus_access::get(bus), &made, rule, receive,
                         this->callback.get());
        slot.reset(made);
    }

    match(bus_t& bus, const std::string& rule, callback_t callback) :
        match(bus, rule.c_str(), std::move(callback))
    {}

    match(match&&) = default;
    match& operator=(match&&) = default;
    match(const match&) = delete;
    match& operator=(const match&) = delete;
    ~match() = default;

  private:
    struct Release
    {
        void operator()(sd_bus_slot* s) const
        {
            sd_bus_slot_unref(s);
        }
    };

    static int receive(sd_bus_message* m, void* callback, sd_bus_error*)
    {
        message_t received(m);
        (*static_cast<callback_t*>(callback))(received);
        return 0;
    }

    std::unique_ptr<callback_t> callback;
    std::unique_ptr<sd_bus_slot, Release> slot;
};

} // namespace bus::match

namespace bus
{
using match_t = match::match;
}

} // namespace sdbusplus
