// SPDX-License-Identifier: Apache-2.0
#include "../common/connection.hpp"
#include "../common/failure.hpp"
#include "../common/kind.hpp"
#include "../common/systemd.hpp"
#include "../common/verbs.hpp"
#include "checks.hpp"

#include <sdbusplus/exception.hpp>

#include <algorithm>
#include <functional>
#include <optional>
#include <vector>

static Kinds kindsOf(const Request& request)
{
    if (!request.kind.empty())
    {
        return {request.kind};
    }
    Kinds all;
    for (const auto& kind : allKinds())
    {
        all.insert(kind.name);
    }
    return all;
}

static std::optional<sdbusplus::bus_t> connectedTo(const std::string& address,
                                                   Findings& findings)
{
    findings.area("bus");
    try
    {
        auto bus = connectTo(address);
        findings.ok(address + " can be reached");
        return bus;
    }
    catch (const Failure& failure)
    {
        findings.failure(failure.what(), failure.reason.hint);
        return {};
    }
}

namespace
{

/** A part of the board that is looked at over the bus. */
struct Section
{
    const char* area;
    /** The kinds of firmware that need it. */
    Kinds kinds;
    std::function<void(sdbusplus::bus_t&)> check;
};

/** @param components  is given the CPLD components that are bound */
std::vector<Section> sectionsFor(Findings& findings, const Kinds& kinds,
                                 const Request& request,
                                 cpld::Registry& components)
{
    return {
        {"security manager",
         {"bmc", "bios"},
         [&](auto& bus) { checkSecurityManager(findings, bus, kinds); }},
        {"firmware information",
         {"bmc", "bios"},
         [&](auto& bus) { checkFirmwareInformation(findings, bus, kinds); }},
        {"host", {"bios"}, [&](auto& bus) { checkHost(findings, bus); }},
        {"settings",
         {"bios"},
         [&](auto& bus) { checkSettings(findings, bus); }},
        {"CPLD update manager",
         {"cpld"},
         [&](auto& bus) { components = checkCplds(findings, bus); }},
        {"flash units",
         {"bmc", "bios", "cpld"},
         [&](auto& bus) {
             checkFlashUnits(findings, bus, kinds,
                             systemd::systemctl(request.bus));
         }},
    };
}

/** Looks at a section.
 *
 *  @return whether the bus is still there
 */
bool checkSection(Findings& findings, const Section& section,
                  sdbusplus::bus_t& bus)
{
    try
    {
        section.check(bus);
        return true;
    }
    catch (const sdbusplus::exception_t& error)
    {
        findings.failure(std::string("the bus went away: ") + error.what(),
                         "start the bus, then run wexa-fwmgr again");
        return false;
    }
}

/** @return the CPLD components that are bound */
cpld::Registry checkSections(Findings& findings, const Kinds& kinds,
                             const Request& request)
{
    cpld::Registry components;
    auto bus = connectedTo(request.bus, findings);
    auto isThere = bus.has_value();
    for (const auto& section :
         sectionsFor(findings, kinds, request, components))
    {
        findings.area(section.area);
        if (std::ranges::none_of(kinds, [&](const auto& kind) {
                return section.kinds.contains(kind);
            }))
        {
            findings.notChecked("only " + request.kind + " was asked for");
        }
        else if (!isThere)
        {
            findings.notChecked("the bus cannot be reached");
        }
        else
        {
            isThere = checkSection(findings, section, *bus);
        }
    }
    return components;
}

} // namespace

Result examineBoard(const Request& request)
{
    const auto kinds = kindsOf(request);
    Findings findings;
    checkLibraries(findings, kinds);
    if (!request.daemon.empty())
    {
        checkDaemon(findings, request.daemon);
    }
    const auto components = checkSections(findings, kinds, request);
    checkImagePaths(findings, kinds, components, request.imageDirectory);

    auto result = findings.asResult();
    if (findings.count(Level::failure) > 0)
    {
        throw Failure(ExitStatus::notReady,
                      "the board is not ready: " + findings.summary(), "",
                      result);
    }
    result.text += "the board is ready: " + findings.summary() + '\n';
    return result;
}
