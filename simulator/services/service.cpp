// SPDX-License-Identifier: Apache-2.0
#include "service.hpp"

#include <stdexcept>

namespace bmcsim
{

Service::Service(std::string label, std::string busName,
                 const std::string& busAddress) :
    name(std::move(label)), busName(std::move(busName)), bus(busAddress)
{
    bus.takeName(this->busName);
}

void Service::behave(Behaviour behaviour)
{
    if (behaving != Behaviour::absent && behaviour == Behaviour::absent)
    {
        bus.releaseName(busName);
    }
    if (behaving == Behaviour::absent && behaviour != Behaviour::absent)
    {
        bus.takeName(busName);
    }
    behaving = behaviour;
    bus.keep(behaviour == Behaviour::silent ? dbus::Pace::never
             : behaviour == Behaviour::slow ? dbus::Pace::late
                                            : dbus::Pace::atOnce);
    changed();
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
        throw dbus::Error("org.freedesktop.DBus.Error.AccessDenied",
                          "the simulated service was told to refuse");
    }
    if (behaving == Behaviour::error)
    {
        throw dbus::Error("org.freedesktop.DBus.Error.Failed",
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
