// SPDX-License-Identifier: Apache-2.0
#include "builtin_manager.hpp"

#include "builtin_interfaces.hpp"
#include "flash_settings.hpp"
#include "flash_units.hpp"

namespace bmcsim
{

constexpr auto busName = "org.freedesktop.systemd1";
constexpr auto managerPath = "/org/freedesktop/systemd1";
constexpr auto unitFolder = "/org/freedesktop/systemd1/unit";
constexpr auto jobFolder = "/org/freedesktop/systemd1/job";

using FindUnit = std::function<BuiltinUnit*(const std::string&)>;
using FindJob = std::function<BuiltinJob*(const std::string&)>;

BuiltinManager::Life::Life(const PrivateDirectory& directory,
                           bool answersNumber) :
    bus(directory.managerBusAddress()), engine(directory, bus),
    units(bus, unitFolder, builtinInterfaces::unit(),
          FindUnit(
              [this](const std::string& path) { return engine.unitAt(path); })),
    services(bus, unitFolder, builtinInterfaces::service(),
             FindUnit([this](const std::string& path) {
                 return engine.unitAt(path);
             })),
    jobs(
        bus, jobFolder, builtinInterfaces::job(),
        FindJob([this](const std::string& path) { return engine.jobAt(path); }))
{
    offerManager(answersNumber);
    bus.takeName(busName);
}

void BuiltinManager::Life::offerManager(bool answersNumber)
{
    manager.reset();
    manager.emplace(bus, managerPath, builtinInterfaces::manager(answersNumber),
                    engine);
}

BuiltinManager::BuiltinManager(const PrivateDirectory& directory) :
    directory(directory), life(std::make_unique<Life>(directory, false))
{}

void BuiltinManager::behave(Behaviour behaviour)
{
    const auto was = std::exchange(behaving, behaviour);
    writeUnits(directory, FlashSettings::read(directory));
    if (behaviour == Behaviour::refuse)
    {
        maskTemplates(directory);
    }
    if (behaviour == Behaviour::error)
    {
        removeTemplates(directory);
    }
    const auto answersNumber = behaviour == Behaviour::wrongType;
    if (behaviour == Behaviour::absent)
    {
        life.reset();
    }
    else if (!life)
    {
        life = std::make_unique<Life>(directory, answersNumber);
    }
    else if (answersNumber != (was == Behaviour::wrongType))
    {
        // The type of an answer is part of the object.
        life->offerManager(answersNumber);
    }
    if (!life)
    {
        return;
    }
    // The relay delays the answers of a slow manager.
    life->bus.keep(isSilent() ? dbus::Pace::never : dbus::Pace::atOnce);
    // What ended while it was silent.
    wake();
    life->engine.reload();
}

void BuiltinManager::reload()
{
    if (life && !isSilent())
    {
        life->engine.reload();
    }
}

void BuiltinManager::childEnded(pid_t child, int status)
{
    if (life)
    {
        life->engine.childEnded(child, status);
    }
}

std::optional<std::chrono::steady_clock::time_point> BuiltinManager::deadline()
{
    return life && !isSilent() ? life->engine.deadline() : std::nullopt;
}

void BuiltinManager::wake()
{
    if (life && !isSilent())
    {
        life->engine.wake();
    }
}

} // namespace bmcsim
