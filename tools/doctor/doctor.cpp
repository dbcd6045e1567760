// SPDX-License-Identifier: Apache-2.0
#include "doctor.hpp"

#include "../common/connection.hpp"
#include "../common/failure.hpp"
#include "../common/unit_name.hpp"
#include "checks.hpp"

#include <sdbusplus/exception.hpp>

#include <optional>

static Kinds kindsOf(const Request& request)
{
    if (!request.kind.empty())
    {
        return {request.kind};
    }
    Kinds all;
    for (const auto& flash : flashTemplates())
    {
        all.insert(flash.kind);
    }
    return all;
}

static std::optional<sdbusplus::bus::bus>
connectedTo(const std::string& address, Findings& findings)
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

/** @return the CPLD components that are bound */
static std::vector<Component>
checkPlatform(Findings& findings, sdbusplus::bus::bus& bus, const Kinds& kinds)
{
    std::vector<Component> components;
    try
    {
        checkServices(findings, bus, kinds);
        if (kinds.contains("cpld"))
        {
            components = checkCplds(findings, bus);
        }
        checkFlashUnits(findings, bus, kinds);
    }
    catch (const sdbusplus::exception::exception& error)
    {
        findings.failure(std::string("the bus went away: ") + error.what(),
                         "start it again");
    }
    return components;
}

Result examineBoard(const Request& request)
{
    const auto kinds = kindsOf(request);
    Findings findings;
    checkLibraries(findings, kinds);
    std::vector<Component> components;
    if (auto bus = connectedTo(request.bus, findings))
    {
        components = checkPlatform(findings, *bus, kinds);
    }
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
