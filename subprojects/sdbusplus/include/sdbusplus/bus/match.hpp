// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of sdbusplus, for a machine that is no BMC.
#pragma once

#include <sdbusplus/bus.hpp>
#include <sdbusplus/message.hpp>
#include <systemd/sd-bus.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace sdbusplus
{

namespace bus
{

namespace match
{

/** Calls a function for each message that a rule fits, as long as it lives.
 *
 *  The function runs inside process() or process_discard(). An exception that
 *  it throws passes through sd-bus, which does not clean up behind it: catch
 *  inside. A rule that the bus refuses is not reported.
 */
struct match
{
    using callback_t = std::function<void(sdbusplus::message_t&)>;

    match() = delete;
    match(const match&) = delete;
    match& operator=(const match&) = delete;
    match(match&&) = default;
    match& operator=(match&&) = default;
    ~match() = default;

    match(sdbusplus::bus_t& bus, const char* rule, callback_t callback) :
        function(std::make_unique<callback_t>(std::move(callback)))
    {
        sd_bus_slot* added = nullptr;
        sd_bus_add_match(bus.get(), &added, rule, forward, function.get());
        slot.reset(added);
    }

    match(sdbusplus::bus_t& bus, const std::string& rule, callback_t callback) :
        match(bus, rule.c_str(), std::move(callback))
    {}

  private:
    struct SlotUnref
    {
        void operator()(sd_bus_slot* s) const
        {
            sd_bus_slot_unref(s);
        }
    };

    static int forward(sd_bus_message* m, void* context, sd_bus_error*)
    {
        message_t received(m);
        (*static_cast<callback_t*>(context))(received);
        return 0;
    }

    std::unique_ptr<callback_t> function;
    std::unique_ptr<sd_bus_slot, SlotUnref> slot;
};

} // namespace match

using match_t = match::match;

} // namespace bus
} // namespace sdbusplus
