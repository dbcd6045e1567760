// SPDX-License-Identifier: Apache-2.0
#include "builtin_manager.hpp"

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
    directory(directory), bus(directory.managerBusAddress())
{
    offerManager();
    bus.takeName(busName);
}

void BuiltinManager::offerManager()
{
    Members members(managerInterface);
    members.method(
        "StartUnit", "ss", behaving == Behaviour::wrongType ? "u" : "o",
        [](BuiltinManager& self, dbus::Call& call) { self.answerStart(call); });
    members.method(
        "StopUnit", "ss", "o",
        [](BuiltinManager& self, dbus::Call& call) { self.answerStop(call); });
    addUnits(members);
    addLists(members);
    const auto accept = [](BuiltinManager&, const dbus::Call& call) {
        call.reply();
    };
    members.method("UnrefUnit", "s", "", accept);
    members.method("Subscribe", "", "", accept);
    members.method("Unsubscribe", "", "", accept);
    members.signal("JobNew", "uos");
    members.signal("JobRemoved", "uoss");
    manager.reset();
    manager.emplace(bus, managerPath, std::move(members), *this);
}

void BuiltinManager::addUnits(Members& members)
{
    members.method("LoadUnit", "s", "o",
                   [](BuiltinManager& self, dbus::Call& call) {
                       call.reply(self.load(call.read<std::string>()).path());
                   });
    members.method(
        "GetUnit", "s", "o", [](BuiltinManager& self, dbus::Call& call) {
            const auto name = call.read<std::string>();
            const auto loaded = self.units.find(name);
            if (loaded == self.units.end())
            {
                throw dbus::Error("org.freedesktop.systemd1.NoSuchUnit",
                                  "Unit " + name + " not loaded.");
            }
            call.reply(loaded->second.path());
        });
    members.method("RefUnit", "s", "",
                   [](BuiltinManager& self, dbus::Call& call) {
                       self.load(call.read<std::string>());
                       call.reply();
                   });
}

void BuiltinManager::addLists(Members& members)
{
    constexpr auto entries = "a(ssssssouso)";
    const auto listed = [](const BuiltinManager& self, const Texts& states,
                           const Texts& patterns) {
        std::vector<BuiltinUnit::Entry> list;
        for (const auto& [name, unit] : self.units)
        {
            if (unit.isIn(states) && unit.isNamed(patterns))
            {
                list.push_back(unit.entry());
            }
        }
        return list;
    };
    members.method("ListUnits", "", entries,
                   [listed](BuiltinManager& self, dbus::Call& call) {
                       call.reply(listed(self, {}, {}));
                   });
    members.method("ListUnitsByPatterns", "asas", entries,
                   [listed](BuiltinManager& self, dbus::Call& call) {
                       const auto states = call.read<Texts>();
                       const auto patterns = call.read<Texts>();
                       call.reply(listed(self, states, patterns));
                   });
}

BuiltinUnit& BuiltinManager::load(const std::string& name)
{
    if (!unitText::isValidName(name))
    {
        throw dbus::Error("org.freedesktop.DBus.Error.InvalidArgs",
                          "Unit name " + name + " is not valid.");
    }
    if (behaving == Behaviour::refuse)
    {
        throw dbus::Error("org.freedesktop.systemd1.UnitMasked",
                          "Unit " + name + " is masked.");
    }
    if (behaving == Behaviour::error ||
        std::ranges::find(flashTemplates(), UnitName(name).unitTemplate) ==
            flashTemplates().end())
    {
        throw dbus::Error("org.freedesktop.systemd1.NoSuchUnit",
                          "Unit " + name + " not found.");
    }
    return units.try_emplace(name, bus, directory, name).first->second;
}

void BuiltinManager::announce(const char* signal, std::uint32_t job,
                              const BuiltinUnit& unit, const char* result)
{
    auto message = bus.newSignal(managerPath, managerInterface, signal);
    message.append(job, jobPath(job), unit.id());
    if (result != nullptr)
    {
        message.append(std::string(result));
    }
    message.send();
}

void BuiltinManager::answerStart(dbus::Call& call)
{
    auto& unit = load(call.read<std::string>());
    if (unit.stopJob != 0)
    {
        throw dbus::Error("org.freedesktop.systemd1.JobTypeConflicting",
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
        call.reply(unit.startJob);
    }
    else
    {
        call.reply(jobPath(unit.startJob));
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

void BuiltinManager::answerStop(dbus::Call& call)
{
    auto& unit = load(call.read<std::string>());
    const auto isNew = unit.stopJob == 0;
    if (isNew)
    {
        unit.stopJob = ++lastJob;
    }
    call.reply(jobPath(unit.stopJob));
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
        bus.releaseName(busName);
    }
    if (behaving == Behaviour::absent && behaviour != Behaviour::absent)
    {
        bus.takeName(busName);
    }
    behaving = behaviour;
    // A slow one answers late by the relay's doing.
    bus.keep(behaviour == Behaviour::silent ? dbus::Pace::never
                                            : dbus::Pace::atOnce);
    offerManager();
}

} // namespace bmcsim
