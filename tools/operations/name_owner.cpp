// SPDX-License-Identifier: Apache-2.0
#include "name_owner.hpp"

#include "../common/patience.hpp"

#include <sdbusplus/exception.hpp>

#include <exception>
#include <utility>

constexpr auto busName = "org.freedesktop.DBus";

/** What a sender without a name is called: a peer that is no bus. */
static std::string senderOf(sdbusplus::message_t& signal)
{
    const auto* const sender = signal.get_sender();
    return sender == nullptr ? "" : sender;
}

static std::string ruleFor(const std::string& name)
{
    return std::string("type='signal',sender='") + busName + "',interface='" +
           busName + "',member='NameOwnerChanged',arg0='" + name + "'";
}

NameOwner::NameOwner(sdbusplus::bus_t& bus, std::string name, Changed changed,
                     Remark remark) :
    bus(bus), name(std::move(name)), changed(std::move(changed)),
    remark(std::move(remark)),
    changes(bus, ruleFor(this->name), [this](auto& signal) { heard(signal); })
{
    // After the match, so that no change is missed in between.
    ask();
}

void NameOwner::ask()
{
    auto call = bus.new_method_call(busName, "/org/freedesktop/DBus", busName,
                                    "GetNameOwner");
    call.append(name);
    try
    {
        bus.call(call, patience).read(owner);
    }
    catch (const sdbusplus::exception_t& error)
    {
        if (std::string(error.name()) !=
            "org.freedesktop.DBus.Error.NameHasNoOwner")
        {
            throw;
        }
    }
}

bool NameOwner::sent(sdbusplus::message_t& signal) const
{
    const auto sender = senderOf(signal);
    if (sender == owner && !owner.empty())
    {
        return true;
    }
    remark(std::string("ignored: ") + signal.get_member() + " from " + sender +
           ", which is not " + name);
    return false;
}

/** Exceptions must not cross the C of sd-bus. */
void NameOwner::heard(sdbusplus::message_t& signal)
{
    try
    {
        nameOwnerChanged(signal);
    }
    catch (const std::exception& error)
    {
        remark(std::string("ignored: NameOwnerChanged: ") + error.what());
    }
}

void NameOwner::nameOwnerChanged(sdbusplus::message_t& signal)
{
    if (const auto sender = senderOf(signal); sender != busName)
    {
        remark("ignored: NameOwnerChanged from " + sender +
               ", which is not the bus");
        return;
    }
    std::string changedName;
    std::string before;
    std::string after;
    signal.read(changedName, before, after);
    if (changedName == name && after != owner)
    {
        owner = after;
        changed();
    }
}
