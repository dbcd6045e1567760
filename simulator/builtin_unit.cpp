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

sdbus::ObjectPath jobPath(std::uint32_t job)
{
    return job == 0 ? "/"
                    : "/org/freedesktop/systemd1/job/" + std::to_string(job);
}

BuiltinUnit::BuiltinUnit(sdbus::IConnection& bus, PrivateDirectory place,
                         std::string id) :
    directory(std::move(place)), name(std::move(id)),
    instance(unitText::unescaped(UnitName(name).instance)),
    object(sdbus::createObject(bus, path()))
{
    offerUnit();
    offerService();
    offerMainProcess();
    object->finishRegistration();
}

BuiltinUnit::~BuiltinUnit()
{
    end(process);
}

/** Whether, and how, a change of a property is signalled. */
enum class Changes
{
    never,
    told,
    withoutValue,
};

/** Offers a property whose value `get` returns. */
template <typename Get>
static void offer(sdbus::IObject& object, const char* interface,
                  const char* property, Changes changes, Get&& get)
{
    using Value = std::decay_t<decltype(get())>;
    sdbus::Flags flags;
    flags.set(changes == Changes::never ? sdbus::Flags::CONST_PROPERTY_VALUE
              : changes == Changes::told
                  ? sdbus::Flags::EMITS_CHANGE_SIGNAL
                  : sdbus::Flags::EMITS_INVALIDATION_SIGNAL);
    object.registerProperty(
        interface, property, sdbus::signature_of<Value>::str(),
        [get](sdbus::PropertyGetReply& reply) { reply << get(); }, flags);
}

void BuiltinUnit::offerUnit()
{
    const auto offers = [this](const char* property, Changes changes,
                               auto&& get) {
        offer(*object, unitInterface, property, changes, get);
    };
    using Condition =
        sdbus::Struct<std::string, bool, bool, std::string, std::int32_t>;
    const auto wasStarted = [this] { return !invocation.empty(); };
    offers("Id", Changes::never, [this] { return name; });
    offers("Names", Changes::never, [this] { return std::vector{name}; });
    offers("Following", Changes::never, [] { return std::string(); });
    offers("TriggeredBy", Changes::never,
           [] { return std::vector<std::string>(); });
    offers("Description", Changes::never, [this] { return description(); });
    offers("LoadState", Changes::never, [] { return std::string("loaded"); });
    offers("FragmentPath", Changes::never, [this] {
        return (directory.units() / UnitName(name).unitTemplate).string();
    });
    offers("ActiveState", Changes::told, [this] { return activeState; });
    offers("SubState", Changes::told, [this] { return subState; });
    offers("StateChangeTimestamp", Changes::told,
           [this] { return stateChange.realtime; });
    offers("StateChangeTimestampMonotonic", Changes::told,
           [this] { return stateChange.monotonic; });
    offers("Job", Changes::told, [this] { return job(); });
    offers("ConditionResult", Changes::told, wasStarted);
    offers("AssertResult", Changes::told, wasStarted);
    offers("Conditions", Changes::withoutValue,
           [] { return std::vector<Condition>(); });
    offers("InvocationID", Changes::told, [this] { return invocation; });
}

void BuiltinUnit::offerService()
{
    const auto offers = [this](const char* property, Changes changes,
                               auto&& get) {
        offer(*object, serviceInterface, property, changes, get);
    };
    const auto text = [](const char* value) {
        return [value] { return std::string(value); };
    };
    offers("Type", Changes::never, text("oneshot"));
    offers("RemainAfterExit", Changes::never, [] { return false; });
    offers("TimeoutStartUSec", Changes::never, [this] { return timeout(); });
    offers("StandardOutput", Changes::never, text("append"));
    offers("StandardError", Changes::never, text("append"));
    offers("Result", Changes::told, [this] { return result; });
    offers("ExecStart", Changes::withoutValue, [this] { return commands(); });
}

void BuiltinUnit::offerMainProcess()
{
    const auto offers = [this](const char* property, auto&& get) {
        offer(*object, serviceInterface, property, Changes::told, get);
    };
    offers("MainPID", [this] { return runs() ? mainProcess : 0; });
    offers("ExecMainPID", [this] { return mainProcess; });
    offers("ExecMainCode", [this] { return exitCode; });
    offers("ExecMainStatus", [this] { return exitStatus; });
    offers("ExecMainStartTimestamp", [this] { return startTime.realtime; });
    offers("ExecMainStartTimestampMonotonic",
           [this] { return startTime.monotonic; });
    offers("ExecMainExitTimestamp", [this] { return exitTime.realtime; });
    offers("ExecMainExitTimestampMonotonic",
           [this] { return exitTime.monotonic; });
}

void BuiltinUnit::tellChanges() const
{
    object->emitPropertiesChangedSignal(serviceInterface);
    object->emitPropertiesChangedSignal(unitInterface);
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

sdbus::ObjectPath BuiltinUnit::path() const
{
    return unitText::objectPath(name);
}

sdbus::Struct<std::uint32_t, sdbus::ObjectPath> BuiltinUnit::job() const
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
                 current.get<0>(),
                 stopJob != 0    ? "stop"
                 : startJob != 0 ? "start"
                                 : "",
                 current.get<1>()};
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
