// SPDX-License-Identifier: Apache-2.0
#include "service.hpp"

#include "../bus_name.hpp"

#include <poll.h>

#include <stdexcept>

namespace bmcsim
{

Service::Service(std::string label, std::string busName,
                 const std::string& busAddress) :
    name(std::move(label)), busName(std::move(busName)),
    bus(sdbus::createSessionBusConnectionWithAddress(busAddress))
{
    takeName(*bus, this->busName);
}

void Service::behave(Behaviour behaviour)
{
    if (behaving != Behaviour::absent && behaviour == Behaviour::absent)
    {
        bus->releaseName(busName);
    }
    if (behaving == Behaviour::absent && behaviour != Behaviour::absent)
    {
        takeName(*bus, busName);
    }
    behaving = behaviour;
    changed();
}

using std::chrono::steady_clock;

static bool isReadable(const sdbus::IConnection& connection)
{
    pollfd waiting{connection.getEventLoopPollData().fd, POLLIN, 0};
    return poll(&waiting, 1, 0) > 0;
}

sdbus::IConnection* Service::connection()
{
    const auto waits =
        behaving == Behaviour::silent || behaving == Behaviour::slow;
    return waits ? nullptr : bus.get();
}

void Service::wake()
{
    if (behaving != Behaviour::slow)
    {
        waitingSince.reset();
        return;
    }
    if (!waitingSince && isReadable(*bus))
    {
        waitingSince = steady_clock::now();
    }
    if (waitingSince && steady_clock::now() >= *waitingSince + slowness)
    {
        waitingSince.reset();
        while (bus->processPendingRequest())
        {
        }
    }
}

std::optional<steady_clock::time_point> Service::deadline() const
{
    constexpr std::chrono::milliseconds glance{20};
    return behaving == Behaviour::slow
               ? std::optional(steady_clock::now() + glance)
               : std::nullopt;
}

void Service::count(const std::string& member, const std::string& asked)
{
    ++calls[member];
    lastAsked[member] = asked;
}

void Service::set(const std::string& name, const std::string&)
{
    throw std::invalid_argument("there is no '" + name + "' to set");
}

void Service::answerErrorIfTold() const
{
    if (behaving == Behaviour::refuse)
    {
        throw sdbus::Error("org.freedesktop.DBus.Error.AccessDenied",
                           "the simulated service was told to refuse");
    }
    if (behaving == Behaviour::error)
    {
        throw sdbus::Error("org.freedesktop.DBus.Error.Failed",
                           "the simulated service was told to fail");
    }
}

nlohmann::json Service::state() const
{
    return {{"behaviour", nameOf(behaving)},
            {"calls", calls},
            {"last", lastAsked},
            {"values", values()}};
}

} // namespace bmcsim
