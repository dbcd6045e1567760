// SPDX-License-Identifier: Apache-2.0
#include "flash_unit.hpp"

#include "../common/patience.hpp"
#include "../common/systemd.hpp"

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

#include <cstdint>
#include <variant>

static auto managerCall(sdbusplus::bus::bus& bus, const char* member)
{
    return bus.new_method_call(systemd::service, systemd::path,
                               systemd::managerInterface, member);
}

/** Calls a method of the manager for a unit; failures are left to others. */
static void tryManager(sdbusplus::bus::bus& bus, const char* member,
                       const std::string& unit)
{
    try
    {
        auto call = managerCall(bus, member);
        call.append(unit);
        bus.call(call, patience);
    }
    catch (const sdbusplus::exception::exception&)
    {
        // The start that follows fails in the same way, and says so.
    }
}

void holdUnit(sdbusplus::bus::bus& bus, const std::string& unit)
{
    tryManager(bus, "RefUnit", unit);
}

void releaseUnit(sdbusplus::bus::bus& bus, const std::string& unit)
{
    tryManager(bus, "UnrefUnit", unit);
}

template <typename Value>
static Value property(sdbusplus::bus::bus& bus, const std::string& object,
                      const char* interface, const char* name)
{
    auto call = bus.new_method_call(systemd::service, object.c_str(),
                                    "org.freedesktop.DBus.Properties", "Get");
    call.append(interface, name);
    std::variant<Value> value;
    bus.call(call, patience).read(value);
    return std::get<Value>(value);
}

UnitOutcome outcomeOf(sdbusplus::bus::bus& bus, const std::string& unit)
{
    constexpr auto ofUnit = "org.freedesktop.systemd1.Unit";
    constexpr auto ofService = "org.freedesktop.systemd1.Service";

    auto call = managerCall(bus, "LoadUnit");
    call.append(unit);
    sdbusplus::message::object_path object;
    bus.call(call, patience).read(object);

    UnitOutcome outcome;
    outcome.type = property<std::string>(bus, object.str, ofService, "Type");
    outcome.result =
        property<std::string>(bus, object.str, ofService, "Result");
    outcome.exitStatus =
        property<std::int32_t>(bus, object.str, ofService, "ExecMainStatus");
    outcome.activeState =
        property<std::string>(bus, object.str, ofUnit, "ActiveState");
    outcome.conditionsHeld =
        property<bool>(bus, object.str, ofUnit, "ConditionResult");
    return outcome;
}
