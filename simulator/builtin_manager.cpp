// SPDX-License-Identifier: Apache-2.0
#include "builtin_manager.hpp"

#include "bus_name.hpp"
#include "flash_units.hpp"
#include "unit_text.hpp"

#include <algorithm>

namespace bmcsim
{

constexpr auto busName = "org.freedesktop.systemd1";
constexpr auto managerPath = "/org/freedesktop/systemd1";
constexpr auto managerInterface = "org.freedesktop.systemd1.Manager";

using Texts = std::vector<std::string>;

BuiltinManager::BuiltinManager(const PrivateDirectory& directory) :
    directory(directory), bus(sdbus::createSessionBusConnectionWithAddress(
                              directory.managerBusAddress()))
{
    offerManager();
    takeName(*bus, busName);
}

void BuiltinManager::offer(const char* member, const char* in, const char* out,
                           sdbus::method_callback answer)
{
    manager->registerMethod(managerInterface, member, in, out,
                            std::move(answer));
}

void BuiltinManager::offerManager()
{
    // The type of an answer is part of the object: a new one has another.
    manager.reset();
    manager = sdbus::createObject(*bus, managerPath);
    const auto* const started = behaving == Behaviour::wrongType ? "u" : "o";
    offer("StartUnit", "ss", started,
          [this](sdbus::MethodCall call) { answerStart(std::move(call)); });
    offer("StopUnit", "ss", "o",
          [this](sdbus::MethodCall call) { answerStop(std::move(call)); });
    offerUnits();
    offerLists();
    const auto accept = [](sdbus::MethodCall call) {
        call.createReply().send();
    };
    offer("UnrefUnit", "s", "", accept);
    offer("Subscribe", "", "", accept);
    offer("Unsubscribe", "", "", accept);
    manager->registerSignal(managerInterface, "JobNew", "uos");
    manager->registerSignal(managerInterface, "JobRemoved", "uoss");
    manager->finishRegistration();
}

static std::string nameFrom(sdbus::MethodCall& call)
{
    std::string name;
    call >> name;
    return name;
}

template <typename... Values>
static void reply(sdbus::MethodCall& call, const Values&... values)
{
    auto message = call.createReply();
    static_cast<void>((message << ... << values));
    message.send();
}

void BuiltinManager::offerUnits()
{
    offer("LoadUnit", "s", "o", [this](sdbus::MethodCall call) {
        reply(call, load(nameFrom(call)).path());
    });
    offer("GetUnit", "s", "o", [this](sdbus::MethodCall call) {
        const auto name = nameFrom(call);
        const auto loaded = units.find(name);
        if (loaded == units.end())
        {
            throw sdbus::Error("org.freedesktop.systemd1.NoSuchUnit",
                               "Unit " + name + " not loaded.");
        }
        reply(call, loaded->second.path());
    });
    offer("RefUnit", "s", "", [this](sdbus::MethodCall call) {
        load(nameFrom(call));
        reply(call);
    });
}

void BuiltinManager::offerLists()
{
    constexpr auto entries = "a(ssssssouso)";
    const auto listed = [this](const Texts& states, const Texts& patterns) {
        std::vector<BuiltinUnit::Entry> list;
        for (const auto& [name, unit] : units)
        {
            if (unit.isIn(states) && unit.isNamed(patterns))
            {
                list.push_back(unit.entry());
            }
        }
        return list;
    };
    offer("ListUnits", "", entries,
          [listed](sdbus::MethodCall call) { reply(call, listed({}, {})); });
    offer("ListUnitsByPatterns", "asas", entries,
          [listed](sdbus::MethodCall call) {
              Texts states;
              Texts patterns;
              call >> states >> patterns;
              reply(call, listed(states, patterns));
          });
}

BuiltinUnit& BuiltinManager::load(const std::string& name)
{
    if (!unitText::isValidName(name))
    {
        throw sdbus::Error("org.freedesktop.DBus.Error.InvalidArgs",
                           "Unit name " + name + " is not valid.");
    }
    if (behaving == Behaviour::refuse)
    {
        throw sdbus::Error("org.freedesktop.systemd1.UnitMasked",
                           "Unit " + name + " is masked.");
    }
    if (behaving == Behaviour::error ||
        std::ranges::find(flashTemplates(), UnitName(name).unitTemplate) ==
            flashTemplates().end())
    {
        throw sdbus::Error("org.freedesktop.systemd1.NoSuchUnit",
                           "Unit " + name + " not found.");
    }
    return units.try_emplace(name, *bus, directory, name).first->second;
}

void BuiltinManager::announce(const char* signal, std::uint32_t job,
                              const BuiltinUnit& unit, const char* result)
{
    auto message = manager->createSignal(managerInterface, signal);
    message << job << jobPath(job) << unit.id();
    if (result != nullptr)
    {
        message << result;
    }
    manager->emitSignal(message);
}

void BuiltinManager::answerStart(sdbus::MethodCall call)
{
    auto& unit = load(nameFrom(call));
    if (unit.stopJob != 0)
    {
        throw sdbus::Error("org.freedesktop.systemd1.JobTypeConflicting",
                           "The unit is being stopped; start it afterwards.");
    }
    // A unit that is being started already has a job for it.
    const auto isNew = !unit.runs();
    if (isNew)
    {
        unit.startJob = ++lastJob;
        unit.tellChanges();
        announce("JobNew", unit.startJob, unit);
    }
    if (behaving == Behaviour::wrongType)
    {
        reply(call, unit.startJob);
    }
    else
    {
        reply(call, jobPath(unit.startJob));
    }
    if (isNew)
    {
        begin(unit);
    }
}

void BuiltinManager::begin(BuiltinUnit& unit)
{
    const auto started = unit.start();
    unit.tellChanges();
    if (!started)
    {
        finish(unit, unit.startJob, "failed");
    }
}

void BuiltinManager::answerStop(sdbus::MethodCall call)
{
    auto& unit = load(nameFrom(call));
    const auto isNew = unit.stopJob == 0;
    if (isNew)
    {
        unit.stopJob = ++lastJob;
    }
    reply(call, jobPath(unit.stopJob));
    if (!unit.runs())
    {
        finish(unit, unit.stopJob, "done");
    }
    else if (isNew)
    {
        announce("JobRemoved", std::exchange(unit.startJob, 0), unit,
                 "canceled");
        announce("JobNew", unit.stopJob, unit);
        unit.stop();
        unit.tellChanges();
    }
}

void BuiltinManager::childEnded(pid_t child, int status)
{
    const auto found = std::ranges::find_if(units, [child](const auto& unit) {
        return unit.second.isProcess(child);
    });
    if (found == units.end())
    {
        return;
    }
    auto& unit = found->second;
    unit.ended(status);
    unit.tellChanges();
    if (unit.stopJob != 0)
    {
        finish(unit, unit.stopJob, "done");
        return;
    }
    finish(unit, unit.startJob, unit.hasSucceeded() ? "done" : "failed");
}

void BuiltinManager::finish(BuiltinUnit& unit, std::uint32_t& job,
                            const char* result)
{
    announce("JobRemoved", std::exchange(job, 0), unit, result);
    unit.tellChanges();
}

std::optional<std::chrono::steady_clock::time_point> BuiltinManager::deadline()
{
    std::optional<std::chrono::steady_clock::time_point> first;
    for (const auto& [name, unit] : units)
    {
        if (const auto last = unit.deadline())
        {
            first = std::min(first.value_or(*last), *last);
        }
    }
    return first;
}

void BuiltinManager::wake()
{
    for (auto& [name, unit] : units)
    {
        if (unit.stopIfLate())
        {
            unit.tellChanges();
        }
    }
}

void BuiltinManager::behave(Behaviour behaviour)
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
    offerManager();
}

} // namespace bmcsim
