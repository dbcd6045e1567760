// SPDX-License-Identifier: Apache-2.0
#include "builtin_unit.hpp"

#include "child.hpp"
#include "flash_settings.hpp"
#include "flash_units.hpp"
#include "unit_text.hpp"

#include <fnmatch.h>
#include <signal.h>
#include <sys/random.h>
#include <sys/wait.h>

#include <algorithm>
#include <system_error>
#include <tuple>

namespace bmcsim
{

constexpr auto unitInterface = "org.freedesktop.systemd1.Unit";
constexpr auto serviceInterface = "org.freedesktop.systemd1.Service";

static std::uint64_t microseconds(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * 1000000 +
           static_cast<std::uint64_t>(time.tv_nsec) / 1000;
}

Moment Moment::now()
{
    return {microseconds(CLOCK_REALTIME), microseconds(CLOCK_MONOTONIC)};
}

dbus::ObjectPath jobPath(std::uint32_t job)
{
    return {job == 0 ? "/"
                     : "/org/freedesktop/systemd1/job/" + std::to_string(job)};
}

BuiltinUnit::BuiltinUnit(const dbus::Connection& bus, PrivateDirectory place,
                         std::string id) :
    directory(std::move(place)), name(std::move(id)),
    instance(unitText::unescaped(UnitName(name).instance)), bus(bus),
    unitOffer(bus, path().text, unitMembers(), *this),
    serviceOffer(bus, path().text, serviceMembers(), *this)
{}

BuiltinUnit::~BuiltinUnit()
{
    end(process);
}

using dbus::Changes;

dbus::Interface<BuiltinUnit> BuiltinUnit::unitMembers()
{
    using Unit = const BuiltinUnit;
    using Condition =
        std::tuple<std::string, bool, bool, std::string, std::int32_t>;
    dbus::Interface<BuiltinUnit> all(unitInterface);
    const auto wasStarted = [](Unit& unit) { return !unit.invocation.empty(); };
    all.property("Id", Changes::never, [](Unit& unit) { return unit.name; });
    all.property("Names", Changes::never,
                 [](Unit& unit) { return std::vector{unit.name}; });
    all.property("Following", Changes::never,
                 [](Unit&) { return std::string(); });
    all.property("TriggeredBy", Changes::never,
                 [](Unit&) { return std::vector<std::string>(); });
    all.property("Description", Changes::never,
                 [](Unit& unit) { return unit.description(); });
    all.property("LoadState", Changes::never,
                 [](Unit&) { return std::string("loaded"); });
    all.property("FragmentPath", Changes::never, [](Unit& unit) {
        return (unit.directory.units() / UnitName(unit.name).unitTemplate)
            .string();
    });
    all.property("ActiveState", Changes::told,
                 [](Unit& unit) { return unit.activeState; });
    all.property("SubState", Changes::told,
                 [](Unit& unit) { return unit.subState; });
    all.property("StateChangeTimestamp", Changes::told,
                 [](Unit& unit) { return unit.stateChange.realtime; });
    all.property("StateChangeTimestampMonotonic", Changes::told,
                 [](Unit& unit) { return unit.stateChange.monotonic; });
    all.property("Job", Changes::told, [](Unit& unit) { return unit.job(); });
    all.property("ConditionResult", Changes::told, wasStarted);
    all.property("AssertResult", Changes::told, wasStarted);
    all.property("Conditions", Changes::withoutValue,
                 [](Unit&) { return std::vector<Condition>(); });
    all.property("InvocationID", Changes::told,
                 [](Unit& unit) { return unit.invocation; });
    return all;
}

dbus::Interface<BuiltinUnit> BuiltinUnit::serviceMembers()
{
    using Unit = const BuiltinUnit;
    dbus::Interface<BuiltinUnit> all(serviceInterface);
    const auto text = [](const char* value) {
        return [value](Unit&) { return std::string(value); };
    };
    all.property("Type", Changes::never, text("oneshot"));
    all.property("RemainAfterExit", Changes::never,
                 [](Unit&) { return false; });
    all.property("TimeoutStartUSec", Changes::never,
                 [](Unit& unit) { return unit.timeout(); });
    all.property("StandardOutput", Changes::never, text("append"));
    all.property("StandardError", Changes::never, text("append"));
    all.property("Result", Changes::told,
                 [](Unit& unit) { return unit.result; });
    all.property("ExecStart", Changes::withoutValue,
                 [](Unit& unit) { return unit.commands(); });
    addMainProcess(all);
    return all;
}

void BuiltinUnit::addMainProcess(dbus::Interface<BuiltinUnit>& members)
{
    using Unit = const BuiltinUnit;
    const auto add = [&](const char* property, auto get) {
        members.property(property, Changes::told, get);
    };
    add("MainPID", [](Unit& u) { return u.runs() ? u.mainProcess : 0; });
    add("ExecMainPID", [](Unit& u) { return u.mainProcess; });
    add("ExecMainCode", [](Unit& u) { return u.exitCode; });
    add("ExecMainStatus", [](Unit& u) { return u.exitStatus; });
    add("ExecMainStartTimestamp", [](Unit& u) { return u.startTime.realtime; });
    add("ExecMainStartTimestampMonotonic",
        [](Unit& u) { return u.startTime.monotonic; });
    add("ExecMainExitTimestamp", [](Unit& u) { return u.exitTime.realtime; });
    add("ExecMainExitTimestampMonotonic",
        [](Unit& u) { return u.exitTime.monotonic; });
}

void BuiltinUnit::tellChanges() const
{
    bus.tellChanges(path().text, serviceInterface);
    bus.tellChanges(path().text, unitInterface);
}

void BuiltinUnit::enter(const std::string& active, const std::string& sub)
{
    activeState = active;
    subState = sub;
    stateChange = Moment::now();
}

/** An identifier that no other run has. */
static std::vector<std::uint8_t> newInvocation()
{
    std::vector<std::uint8_t> bytes(16);
    checked(getrandom(bytes.data(), bytes.size(), 0), "getrandom");
    return bytes;
}

bool BuiltinUnit::start()
try
{
    invocation = newInvocation();
    std::tie(exitCode, exitStatus, isLate) = std::tuple(0, 0, false);
    std::tie(result, mainProcess) = std::tuple("success", 0);
    startTime = exitTime = {};
    process = bmcsim::start({flashCommand(directory, instance),
                             {"PATH=/usr/bin:/bin"},
                             directory.log("flash")});
    mainProcess = static_cast<std::uint32_t>(process);
    startTime = Moment::now();
    lastInstant = std::chrono::steady_clock::now() +
                  FlashSettings::read(directory).timeout;
    enter("activating", "start");
    return true;
}

catch (const std::exception&)
{
    result = "resources";
    enter("failed", "failed");
    return false;
}

void BuiltinUnit::stop()
{
    kill(process, SIGTERM);
    enter("deactivating", "stop-sigterm");
}

bool BuiltinUnit::stopIfLate()
{
    const auto last = deadline();
    if (!last || std::chrono::steady_clock::now() < *last)
    {
        return false;
    }
    isLate = true;
    stop();
    return true;
}

void BuiltinUnit::ended(int status)
{
    process = -1;
    exitTime = Moment::now();
    exitCode = WIFSIGNALED(status) ? CLD_KILLED : CLD_EXITED;
    exitStatus = WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
    result = isLate                ? "timeout"
             : WIFSIGNALED(status) ? "signal"
             : exitStatus != 0     ? "exit-code"
                                   : "success";
    if (hasSucceeded())
    {
        enter("inactive", "dead");
    }
    else
    {
        enter("failed", "failed");
    }
}

std::optional<std::chrono::steady_clock::time_point>
BuiltinUnit::deadline() const
{
    return runs() && !isLate ? std::optional(lastInstant) : std::nullopt;
}

dbus::ObjectPath BuiltinUnit::path() const
{
    return {unitText::objectPath(name)};
}

std::tuple<std::uint32_t, dbus::ObjectPath> BuiltinUnit::job() const
{
    const auto id = stopJob != 0 ? stopJob : startJob;
    return {id, jobPath(id)};
}

std::vector<BuiltinUnit::Command> BuiltinUnit::commands() const
{
    const auto words = flashCommand(directory, instance);
    return {{words.front(), words, false, startTime.realtime,
             startTime.monotonic, exitTime.realtime, exitTime.monotonic,
             mainProcess, exitCode, exitStatus}};
}

std::uint64_t BuiltinUnit::timeout() const
{
    return static_cast<std::uint64_t>(
        std::chrono::microseconds(FlashSettings::read(directory).timeout)
            .count());
}

std::string BuiltinUnit::description() const
{
    return "Flash of " + instance;
}

BuiltinUnit::Entry BuiltinUnit::entry() const
{
    const auto current = job();
    return Entry{name,
                 description(),
                 "loaded",
                 activeState,
                 subState,
                 "",
                 path(),
                 std::get<0>(current),
                 stopJob != 0    ? "stop"
                 : startJob != 0 ? "start"
                                 : "",
                 std::get<1>(current)};
}

bool BuiltinUnit::isIn(const std::vector<std::string>& states) const
{
    return states.empty() ||
           std::ranges::any_of(states, [this](const auto& state) {
               return state == "loaded" || state == activeState ||
                      state == subState;
           });
}

bool BuiltinUnit::isNamed(const std::vector<std::string>& patterns) const
{
    return patterns.empty() ||
           std::ranges::any_of(patterns, [this](const auto& pattern) {
               return fnmatch(pattern.c_str(), name.c_str(), FNM_NOESCAPE) == 0;
           });
}

} // namespace bmcsim
