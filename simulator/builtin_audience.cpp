// SPDX-License-Identifier: Apache-2.0
#include "builtin_audience.hpp"

#include "unit_text.hpp"

namespace bmcsim
{

void BuiltinAudience::subscribe(const std::string& client)
{
    if (!subscribers.insert(client).second)
    {
        throw dbus::Error("org.freedesktop.systemd1.AlreadySubscribed",
                          "Client is already subscribed.");
    }
}

void BuiltinAudience::unsubscribe(const std::string& client)
{
    if (subscribers.erase(client) == 0)
    {
        throw dbus::Error("org.freedesktop.systemd1.NotSubscribed",
                          "Client is not subscribed.");
    }
}

void BuiltinAudience::refer(const std::string& unit, const std::string& client)
{
    ++references[{unit, client}];
}

void BuiltinAudience::release(const std::string& unit,
                              const std::string& client)
{
    const auto found = references.find({unit, client});
    if (found == references.end())
    {
        throw dbus::Error("org.freedesktop.systemd1.NotReferenced",
                          "Unit has not been referenced yet.");
    }
    if (--found->second == 0)
    {
        references.erase(found);
    }
}

bool BuiltinAudience::isReferredTo(const std::string& unit) const
{
    const auto first = references.lower_bound({unit, ""});
    return first != references.end() && first->first.first == unit;
}

void BuiltinAudience::forget(const std::string& client)
{
    subscribers.erase(client);
    std::erase_if(references, [&](const auto& entry) {
        return entry.first.second == client;
    });
}

void BuiltinAudience::tellOfUnit(const char* signal,
                                 const std::string& unit) const
{
    if (!subscribers.empty())
    {
        announce(signal, unit, dbus::ObjectPath(unitText::objectPath(unit)));
    }
}

void BuiltinAudience::tellChanges(const std::string& unit) const
{
    if (!subscribers.empty() || isReferredTo(unit))
    {
        const auto path = unitText::objectPath(unit);
        announceChanges(path, "org.freedesktop.systemd1.Service");
        announceChanges(path, "org.freedesktop.systemd1.Unit");
    }
}

void BuiltinAudience::tellNew(const BuiltinJob& job) const
{
    if (isHeard(job))
    {
        announce("JobNew", job.id, BuiltinJob::pathOf(job.id), job.unit);
    }
}

void BuiltinAudience::tellState(const BuiltinJob& job) const
{
    if (isHeard(job))
    {
        announceChanges(BuiltinJob::pathOf(job.id).text,
                        "org.freedesktop.systemd1.Job", {"State"});
    }
}

void BuiltinAudience::tellEnd(const BuiltinJob& job,
                              const std::string& result) const
{
    if (isHeard(job))
    {
        announce("JobRemoved", job.id, BuiltinJob::pathOf(job.id), job.unit,
                 result);
    }
}

bool BuiltinAudience::isHeard(const BuiltinJob& job) const
{
    return !subscribers.empty() || !job.clients.empty();
}

/** Sends something, unless the bus is gone. */
template <typename Send>
static void sendIfPossible(Send send)
{
    try
    {
        send();
    }
    catch (const dbus::Error&)
    {}
}

template <typename... Values>
void BuiltinAudience::announce(const char* signal,
                               const Values&... values) const
{
    sendIfPossible([&] {
        auto message =
            bus.newSignal("/org/freedesktop/systemd1",
                          "org.freedesktop.systemd1.Manager", signal);
        message.append(values...);
        message.send();
    });
}

void BuiltinAudience::announceChanges(
    const std::string& path, const char* interface,
    const std::vector<std::string>& properties) const
{
    sendIfPossible([&] { bus.tellChanges(path, interface, properties); });
}

} // namespace bmcsim
