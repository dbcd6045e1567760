// SPDX-License-Identifier: Apache-2.0
#include "../common/cpld_registry.hpp"
#include "../common/patience.hpp"
#include "../common/unit_name.hpp"
#include "checks.hpp"
#include "remote_object.hpp"

#include <sdbusplus/exception.hpp>

static const Need registryNeed{Level::failure,
                               "no CPLD can be listed, verified or updated"};

/** Asks for the registry; a failure of the call is a finding. */
static cpld::Registry registered(Findings& findings, sdbusplus::bus_t& bus)
{
    try
    {
        return cpld::readRegistry(bus, patience);
    }
    catch (const cpld::AnotherType& fault)
    {
        addWrong(findings, registryNeed, fault.what(),
                 "update the CPLD update manager");
    }
    catch (const sdbusplus::exception_t& error)
    {
        addWrong(findings, registryNeed,
                 std::string("bindedDevices fails (") + error.name() + ")",
                 "look at what the service itself logged");
    }
    findings.notChecked("the objects of the CPLDs, since the registry cannot "
                        "be read");
    return {};
}

/** Whether the object path of a device can be called. */
static bool checkPath(Findings& findings, const std::string& component,
                      const cpld::Record& record)
{
    const auto fault = cpld::faultOfPath(component, record);
    if (fault)
    {
        findings.failure(*fault + (record.objectPath.empty()
                                       ? ": its version is not known, and it "
                                         "cannot be verified"
                                       : ": no CPLD can be listed"),
                         "have bindedDevices tell the path of its object");
        findings.notChecked("what its object offers, since its path is not "
                            "known");
    }
    return !fault;
}

/** Asks a device for the version that it runs, which changes nothing. */
static void checkRunningVersion(Findings& findings, sdbusplus::bus_t& bus,
                                const std::string& path, const Need& need)
{
    try
    {
        auto call =
            bus.new_method_call(cpld::service, path.c_str(),
                                cpld::deviceInterface, "readMBVersionString");
        std::string version;
        bus.call(call, patience).read(version);
        findings.ok("it runs version " + version);
    }
    catch (const sdbusplus::exception_t& error)
    {
        addWrong(findings, need,
                 std::string("readMBVersionString fails (") + error.name() +
                     ")",
                 "look at what the service itself logged");
    }
}

static void checkDevice(Findings& findings, sdbusplus::bus_t& bus,
                        const std::string& component,
                        const cpld::Record& record)
{
    const Need need{Level::failure,
                    component + " cannot be verified or updated"};
    if (const auto obstacle = obstacleOfComponent(component))
    {
        findings.failure("component " + component + ": " + obstacle->what,
                         obstacle->hint);
    }
    if (!checkPath(findings, component, record))
    {
        return;
    }
    const auto offered =
        offeredBy(findings, bus, cpld::service, record.objectPath,
                  cpld::deviceInterface, need);
    if (!offered)
    {
        return;
    }
    checkMethod(findings, *offered, "readImageFileInfo", need);
    checkMethod(findings, *offered, "verifyCPLD", need);
    const Need version{Level::warning,
                       "the version that it runs cannot be shown"};
    if (checkMethod(findings, *offered, "readMBVersionString", version))
    {
        checkRunningVersion(findings, bus, record.objectPath, version);
    }
}

cpld::Registry checkCplds(Findings& findings, sdbusplus::bus_t& bus)
{
    if (!isOnTheBus(findings, bus, cpld::service, registryNeed))
    {
        return {};
    }
    const auto offered =
        offeredBy(findings, bus, cpld::service, cpld::managerPath,
                  cpld::managerInterface, registryNeed);
    if (!offered)
    {
        return {};
    }
    const auto before = findings.count(Level::failure);
    checkMethod(findings, *offered, "bindedDevices", registryNeed);
    if (findings.count(Level::failure) > before)
    {
        findings.notChecked("the objects of the CPLDs, since the registry "
                            "cannot be read");
        return {};
    }
    auto components = registered(findings, bus);
    if (components.empty() && findings.count(Level::failure) == before)
    {
        findings.warning("no CPLD is bound", "look at what the CPLD update "
                                             "manager logged, if the board "
                                             "has CPLDs");
    }
    for (const auto& [name, record] : components)
    {
        findings.area("CPLD " + name);
        checkDevice(findings, bus, name, record);
    }
    return components;
}
