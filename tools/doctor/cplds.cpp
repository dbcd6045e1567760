// SPDX-License-Identifier: Apache-2.0
#include "../common/patience.hpp"
#include "../common/unit_name.hpp"
#include "checks.hpp"
#include "remote_object.hpp"

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>
#include <systemd/sd-bus.h>

#include <map>
#include <tuple>
#include <variant>

constexpr auto service = "xyz.openbmc_project.CpldUpdateMgrSvc";
constexpr auto managerPath = "/xyz/openbmc_project/cpld_update_mgr";
constexpr auto managerInterface =
    "xyz.openbmc_project.cpld_update_mgr.CpldUpdateMgrSvc";
constexpr auto deviceInterface =
    "xyz.openbmc_project.cpld_update_mgr.CpldDevice";
constexpr auto registryType = "a{s(ssa{sv})}";

static const Need registryNeed{Level::failure,
                               "no CPLD can be listed, verified or updated"};

/** Component names and object paths; values of properties are skipped. */
using Registry =
    std::map<std::string,
             std::tuple<std::string, std::string,
                        std::map<std::string, std::variant<std::string>>>>;

/** Asks for the registry; a finding where it cannot be had. */
static std::vector<Component> registered(Findings& findings,
                                         sdbusplus::bus::bus& bus)
{
    std::vector<Component> components;
    try
    {
        auto call = bus.new_method_call(service, managerPath, managerInterface,
                                        "bindedDevices");
        auto reply = bus.call(call, patience);
        if (std::string(reply.get_signature()) != registryType)
        {
            addWrong(findings, registryNeed,
                     std::string("the registry is of type ") +
                         reply.get_signature(),
                     std::string("have bindedDevices answer ") + registryType);
            return {};
        }
        Registry registry;
        reply.read(registry);
        for (const auto& [name, record] : registry)
        {
            components.push_back({name, std::get<0>(record)});
        }
    }
    catch (const sdbusplus::exception::exception& error)
    {
        addWrong(findings, registryNeed,
                 std::string("bindedDevices fails (") + error.name() + ")",
                 "look at what the service itself logged");
    }
    return components;
}

/** Whether the object path of a device can be called. */
static bool checkPath(Findings& findings, const Component& component)
{
    if (component.objectPath.empty())
    {
        findings.failure("the registry tells no object path of " +
                             component.name +
                             ": its version is not known, and it cannot be "
                             "verified",
                         "have bindedDevices tell the path of its object");
        return false;
    }
    if (sd_bus_object_path_is_valid(component.objectPath.c_str()) == 0)
    {
        findings.failure("the registry tells '" + component.objectPath +
                             "' as the object path of " + component.name +
                             ", which is none: no CPLD can be listed",
                         "have bindedDevices tell the path of its object");
        return false;
    }
    return true;
}

static void checkDevice(Findings& findings, sdbusplus::bus::bus& bus,
                        const Component& component)
{
    const Need need{Level::failure,
                    component.name + " cannot be verified or updated"};
    if (const auto obstacle = obstacleOfComponent(component.name))
    {
        findings.failure("component " + component.name + ": " + obstacle->what,
                         obstacle->hint);
    }
    if (!checkPath(findings, component))
    {
        return;
    }
    const auto offered = offeredBy(findings, bus, service, component.objectPath,
                                   deviceInterface, need);
    if (!offered)
    {
        return;
    }
    checkMethod(findings, *offered, "readImageFileInfo", {"s", "a{sv}"}, need);
    checkMethod(findings, *offered, "verifyCPLD", {"s", "b"}, need);
    checkMethod(findings, *offered, "readMBVersionString", {"", "s"},
                {Level::warning, "the version that it runs cannot be shown"});
}

std::vector<Component> checkCplds(Findings& findings, sdbusplus::bus::bus& bus)
{
    findings.area("CPLD update manager");
    if (!isOnTheBus(findings, bus, service, registryNeed))
    {
        return {};
    }
    const auto offered = offeredBy(findings, bus, service, managerPath,
                                   managerInterface, registryNeed);
    if (!offered)
    {
        return {};
    }
    const auto before = findings.count(Level::failure);
    checkMethod(findings, *offered, "bindedDevices", {"", registryType},
                registryNeed);
    if (findings.count(Level::failure) > before)
    {
        return {};
    }
    auto components = registered(findings, bus);
    if (components.empty() && findings.count(Level::failure) == before)
    {
        findings.warning("no CPLD is bound", "look at what the CPLD update "
                                             "manager logged, if the board "
                                             "has CPLDs");
    }
    for (const auto& component : components)
    {
        findings.area("CPLD " + component.name);
        checkDevice(findings, bus, component);
    }
    return components;
}
