// SPDX-License-Identifier: Apache-2.0
#include "flash_unit.hpp"

#include "../common/loaded_unit.hpp"
#include "../common/patience.hpp"
#include "../common/systemd.hpp"

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>
#include <signal.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <string_view>
#include <tuple>

static auto managerCall(sdbusplus::bus_t& bus, const char* member)
{
    return bus.new_method_call(systemd::service, systemd::path,
                               systemd::managerInterface, member);
}

/** Calls a method of the manager for a unit; failures are left to others. */
static void tryManager(sdbusplus::bus_t& bus, const char* member,
                       const std::string& unit)
{
    try
    {
        auto call = managerCall(bus, member);
        call.append(unit);
        bus.call(call, patience);
    }
    catch (const sdbusplus::exception_t&)
    {
        // The start that follows fails in the same way, and says so.
    }
}

void holdUnit(sdbusplus::bus_t& bus, const std::string& unit)
{
    tryManager(bus, "RefUnit", unit);
}

void releaseUnit(sdbusplus::bus_t& bus, const std::string& unit)
{
    tryManager(bus, "UnrefUnit", unit);
}

static std::string hexadecimal(const std::vector<std::uint8_t>& bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const auto byte : bytes)
    {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

/** As a unit file has it: "ConditionPathExists=!/path". */
static std::string
failedAmong(const std::vector<LoadedUnit::Condition>& conditions)
{
    for (const auto& [type, triggers, negated, parameter, state] : conditions)
    {
        if (state < 0)
        {
            auto text = type;
            text.append(triggers ? "=|" : "=").append(negated ? "!" : "");
            return text.append(parameter);
        }
    }
    return {};
}

static bool hasFailed(const LoadedUnit::Command& command)
{
    const auto code = std::get<8>(command);
    const auto status = std::get<9>(command);
    return code != 0 && (code != CLD_EXITED || status != 0);
}

static std::string inOneLine(const LoadedUnit::Command& command)
{
    std::string line;
    for (const auto& word : std::get<1>(command))
    {
        line += (line.empty() ? "" : " ") + word;
    }
    return line;
}

static void addCommands(UnitState& state, const LoadedUnit& unit)
{
    using Commands = std::vector<LoadedUnit::Command>;
    for (const auto* const property :
         {"ExecStartPre", "ExecStart", "ExecStartPost"})
    {
        const auto commands = unit.get<Commands>(property);
        state.hasFailedCommand =
            state.hasFailedCommand || std::ranges::any_of(commands, hasFailed);
    }
    std::ranges::transform(unit.get<Commands>("ExecStart"),
                           std::back_inserter(state.commands), inOneLine);
}

static void addLastRun(UnitState& state, const LoadedUnit& unit)
{
    using std::chrono::microseconds;
    const auto time = [&](const char* property) {
        return microseconds(unit.get<std::uint64_t>(property));
    };
    state.result = unit.get<std::string>("Result");
    state.exitCode = unit.get<std::int32_t>("ExecMainCode");
    state.exitStatus = unit.get<std::int32_t>("ExecMainStatus");
    state.began = time("ExecMainStartTimestamp");
    state.ended = time("ExecMainExitTimestamp");
    state.beganMonotonic = time("ExecMainStartTimestampMonotonic");
    addCommands(state, unit);
}

UnitState stateOf(sdbusplus::bus_t& bus, const std::string& unit)
{
    const LoadedUnit loaded(bus, unit);
    UnitState state;
    state.path = loaded.path();
    state.fragment = loaded.get<std::string>("FragmentPath");
    state.activeState = loaded.get<std::string>("ActiveState");
    state.hasJob = std::get<0>(loaded.get<LoadedUnit::Job>("Job")) != 0;
    state.conditionsHeld = loaded.get<bool>("ConditionResult");
    state.failedCondition = failedAmong(
        loaded.get<std::vector<LoadedUnit::Condition>>("Conditions"));
    state.invocation =
        hexadecimal(loaded.get<std::vector<std::uint8_t>>("InvocationID"));
    state.type = loaded.get<std::string>("Type");
    state.timeout = std::chrono::microseconds(
        loaded.get<std::uint64_t>("TimeoutStartUSec"));
    addLastRun(state, loaded);
    return state;
}
