// SPDX-License-Identifier: Apache-2.0
#include "builtin_manager.hpp"

#include "child.hpp"
#include "flash_settings.hpp"
#include "flash_units.hpp"
#include "unit_text.hpp"

#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <stdexcept>

namespace bmcsim
{

constexpr auto busName = "org.freedesktop.systemd1";
constexpr auto managerPath = "/org/freedesktop/systemd1";
constexpr auto managerInterface = "org.freedesktop.systemd1.Manager";
constexpr auto unitInterface = "org.freedesktop.systemd1.Unit";
constexpr auto serviceInterface = "org.freedesktop.systemd1.Service";

static sdbus::ObjectPath jobPath(std::uint32_t job)
{
    return std::string(managerPath) + "/job/" + std::to_string(job);
}

BuiltinManager::BuiltinManager(const PrivateDirectory& directory) :
    directory(directory),
    bus(sdbus::createSessionBusConnectionWithAddress(directory.busAddress()))
{
    offerManager();
    bus->requestName(busName);
}

BuiltinManager::~BuiltinManager()
{
    for (auto& [name, unit] : units)
    {
        end(unit.process);
    }
}

void BuiltinManager::offerManager()
{
    // The type of an answer is part of the object: a new one has another.
    manager.reset();
    manager = sdbus::createObject(*bus, managerPath);
    const auto offer = [this](const char* member, const char* in,
                              const char* out, auto&& answer) {
        manager->registerMethod(managerInterface, member, in, out, answer);
    };
    const auto load = [this](sdbus::MethodCall call) {
        std::string name;
        call >> name;
        this->load(name);
        auto reply = call.createReply();
        reply << sdbus::ObjectPath(unitText::objectPath(name));
        reply.send();
    };
    const auto accept = [](sdbus::MethodCall call) {
        call.createReply().send();
    };
    const auto* const started = behaving == Behaviour::wrongType ? "u" : "o";
    offer("StartUnit", "ss", started,
          [this](sdbus::MethodCall call) { answerStart(std::move(call)); });
    offer("StopUnit", "ss", "o",
          [this](sdbus::MethodCall call) { answerStop(std::move(call)); });
    offer("LoadUnit", "s", "o", load);
    offer("GetUnit", "s", "o", load);
    offer("RefUnit", "s", "", [this](sdbus::MethodCall call) {
        std::string name;
        call >> name;
        this->load(name);
        call.createReply().send();
    });
    offer("UnrefUnit", "s", "", accept);
    offer("Subscribe", "", "", accept);
    offer("Unsubscribe", "", "", accept);
    manager->registerSignal(managerInterface, "JobNew", "uos");
    manager->registerSignal(managerInterface, "JobRemoved", "uoss");
    manager->finishRegistration();
}

BuiltinManager::Unit& BuiltinManager::load(const std::string& name)
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

    auto& unit = units[name];
    if (!unit.object)
    {
        unit.object = sdbus::createObject(*bus, unitText::objectPath(name));
        const auto offer = [&unit](const char* interface, const char* property,
                                   const char* type, auto&& get) {
            unit.object->registerProperty(interface, property, type, get);
        };
        using Reply = sdbus::PropertyGetReply;
        offer(unitInterface, "Id", "s", [name](Reply& r) { r << name; });
        offer(unitInterface, "LoadState", "s", [](Reply& r) { r << "loaded"; });
        offer(unitInterface, "ActiveState", "s",
              [&unit](Reply& r) { r << unit.activeState; });
        offer(unitInterface, "ConditionResult", "b",
              [](Reply& r) { r << true; });
        offer(unitInterface, "AssertResult", "b", [](Reply& r) { r << true; });
        offer(serviceInterface, "Type", "s", [](Reply& r) { r << "oneshot"; });
        offer(serviceInterface, "Result", "s",
              [&unit](Reply& r) { r << unit.result; });
        offer(serviceInterface, "ExecMainCode", "i",
              [&unit](Reply& r) { r << unit.exitCode; });
        offer(serviceInterface, "ExecMainStatus", "i",
              [&unit](Reply& r) { r << unit.exitStatus; });
        unit.object->finishRegistration();
    }
    return unit;
}

void BuiltinManager::announce(const char* signal, std::uint32_t job,
                              const std::string& unit, const char* result)
{
    auto message = manager->createSignal(managerInterface, signal);
    message << job << jobPath(job) << unit;
    if (result != nullptr)
    {
        message << result;
    }
    manager->emitSignal(message);
}

void BuiltinManager::answerStart(sdbus::MethodCall call)
{
    std::string name;
    std::string mode;
    call >> name >> mode;
    auto& unit = load(name);
    const auto job = begin(name, unit);
    auto reply = call.createReply();
    if (behaving == Behaviour::wrongType)
    {
        reply << unit.job;
    }
    else
    {
        reply << job;
    }
    reply.send();
}

sdbus::ObjectPath BuiltinManager::begin(const std::string& name, Unit& unit)
{
    // A unit that is being started already has a job for it.
    if (unit.process < 0)
    {
        const auto instance = unitText::unescaped(UnitName(name).instance);
        unit.process = start({flashCommand(directory, instance),
                              {"PATH=/usr/bin:/bin"},
                              directory.log("flash")});
        unit.deadline = std::chrono::steady_clock::now() +
                        FlashSettings::read(directory).timeout;
        unit.timedOut = false;
        unit.activeState = "activating";
        unit.job = ++lastJob;
        announce("JobNew", unit.job, name, nullptr);
    }
    return jobPath(unit.job);
}

void BuiltinManager::answerStop(sdbus::MethodCall call)
{
    std::string name;
    std::string mode;
    call >> name >> mode;
    auto& unit = load(name);
    unit.stopJob = ++lastJob;
    auto reply = call.createReply();
    reply << jobPath(unit.stopJob);
    reply.send();

    if (unit.process > 0)
    {
        announce("JobRemoved", unit.job, name, "canceled");
        announce("JobNew", unit.stopJob, name, nullptr);
        kill(unit.process, SIGTERM);
        return;
    }
    announce("JobRemoved", unit.stopJob, name, "done");
    unit.stopJob = 0;
}

void BuiltinManager::childEnded(pid_t child, int status)
{
    const auto ended = std::ranges::find_if(
        units, [child](const auto& u) { return u.second.process == child; });
    if (ended != units.end())
    {
        conclude(ended->first, ended->second, status);
    }
}

void BuiltinManager::conclude(const std::string& name, Unit& unit, int status)
{
    unit.process = -1;
    unit.exitCode = WIFSIGNALED(status) ? CLD_KILLED : CLD_EXITED;
    unit.exitStatus =
        WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    if (unit.stopJob != 0)
    {
        unit.result = "success";
        unit.activeState = "inactive";
        announce("JobRemoved", std::exchange(unit.stopJob, 0), name, "done");
        return;
    }

    unit.result = unit.timedOut          ? "timeout"
                  : WIFSIGNALED(status)  ? "signal"
                  : unit.exitStatus != 0 ? "exit-code"
                                         : "success";
    const auto done = unit.result == "success";
    unit.activeState = done ? "inactive" : "failed";
    announce("JobRemoved", unit.job, name, done ? "done" : "failed");
}

std::optional<std::chrono::steady_clock::time_point> BuiltinManager::deadline()
{
    std::optional<std::chrono::steady_clock::time_point> first;
    for (const auto& [name, unit] : units)
    {
        if (unit.process > 0 && !unit.timedOut)
        {
            first = std::min(first.value_or(unit.deadline), unit.deadline);
        }
    }
    return first;
}

void BuiltinManager::wake()
{
    for (auto& [name, unit] : units)
    {
        if (unit.process > 0 && !unit.timedOut &&
            std::chrono::steady_clock::now() >= unit.deadline)
        {
            unit.timedOut = true;
            kill(unit.process, SIGTERM);
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
        bus->requestName(busName);
    }
    behaving = behaviour;
    offerManager();
}

} // namespace bmcsim
