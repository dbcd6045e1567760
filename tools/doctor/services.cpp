// SPDX-License-Identifier: Apache-2.0
#include "../common/told_value.hpp"
#include "checks.hpp"
#include "remote_object.hpp"

#include <sdbusplus/exception.hpp>

#include <tuple>

void checkSecurityManager(Findings& findings, sdbusplus::bus_t& bus,
                          const Kinds& kinds)
{
    constexpr auto service = "xyz.openbmc_project.SecurityManager";
    const Need need{Level::failure, "no BMC or BIOS image can be verified"};
    if (!isOnTheBus(findings, bus, service, need))
    {
        return;
    }
    const auto offered =
        offeredBy(findings, bus, service, "/xyz/openbmc_project/security",
                  "xyz.openbmc_project.security.SecurityManager", need);
    if (!offered)
    {
        return;
    }
    for (const auto& [kind, member, image] :
         {std::tuple("bmc", "verifyBmc", "BMC image"),
          std::tuple("bios", "verifyBios", "BIOS image"),
          std::tuple("bios", "verifyCapsule", "BIOS capsule")})
    {
        if (kinds.contains(kind))
        {
            checkMethod(findings, *offered, member,
                        {Level::failure,
                         std::string("no ") + image + " can be verified"});
        }
    }
}

void checkFirmwareInformation(Findings& findings, sdbusplus::bus_t& bus,
                              const Kinds& kinds)
{
    constexpr auto service = "xyz.openbmc_project.FwInfoManager";
    const Need need{Level::failure, "no BMC or BIOS image can be uploaded"};
    if (!isOnTheBus(findings, bus, service, need))
    {
        return;
    }
    const auto offered =
        offeredBy(findings, bus, service, "/xyz/openbmc_project/fwinfo",
                  "xyz.openbmc_project.fwinfo.FwInfoManager", need);
    if (!offered)
    {
        return;
    }
    for (const auto& [kind, property, image] :
         {std::tuple("bmc", "stagingBMC", "BMC image"),
          std::tuple("bios", "stagingBIOS", "BIOS image"),
          std::tuple("bios", "stagingCapsuleMCU", "BIOS capsule")})
    {
        if (kinds.contains(kind))
        {
            checkProperty(findings, *offered, property, "s", true,
                          {Level::failure,
                           std::string("no ") + image + " can be uploaded"});
        }
    }
}

/** Reads a property; a finding where that fails, or another type is told. */
static std::optional<std::string>
valueOf(Findings& findings, sdbusplus::bus_t& bus, const Place& place,
        const char* property, const char* type, const Need& need)
{
    try
    {
        const auto value = propertyAt(bus, place, property);
        if (value.type == type)
        {
            return value.text;
        }
        addWrong(findings, need,
                 std::string(property) + " is told " +
                     anotherTypeInWords(value, type),
                 "update the service");
    }
    catch (const sdbusplus::exception_t& error)
    {
        addWrong(findings, need,
                 std::string(property) + " cannot be read (" + error.name() +
                     ")",
                 "look at what the service itself logged");
    }
    return {};
}

void checkHost(Findings& findings, sdbusplus::bus_t& bus)
{
    constexpr Place host{"com.WEXA.Host", "/com/WEXA/Host", "com.WEXA.Host"};
    const Need need{Level::failure,
                    "no BIOS image can be uploaded, since its board cannot be "
                    "compared with this one"};
    if (!isOnTheBus(findings, bus, host.service, need))
    {
        return;
    }
    const auto offered =
        offeredBy(findings, bus, host.service, host.path, host.interface, need);
    if (!offered ||
        !checkProperty(findings, *offered, "BoardId", "q", false, need))
    {
        return;
    }
    if (const auto board = valueOf(findings, bus, host, "BoardId", "q", need))
    {
        findings.ok("this is board " + *board);
    }
}

void checkSettings(Findings& findings, sdbusplus::bus_t& bus)
{
    constexpr Place settings{"xyz.openbmc_project.Settings",
                             "/xyz/openbmc_project/software/apply_time",
                             "xyz.openbmc_project.Software.ApplyTime"};
    const Need need{Level::warning, "uploads of BIOS images tell no apply "
                                    "time"};
    const std::string enumeration =
        "xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes.";
    const std::set<std::string> known{enumeration + "OnReset",
                                      enumeration + "Immediate",
                                      enumeration + "OnStartUpdateRequest"};
    if (!isOnTheBus(findings, bus, settings.service, need))
    {
        return;
    }
    const auto offered = offeredBy(findings, bus, settings.service,
                                   settings.path, settings.interface, need);
    if (!offered || !checkProperty(findings, *offered, "RequestedApplyTime",
                                   "s", false, need))
    {
        return;
    }
    const auto requested =
        valueOf(findings, bus, settings, "RequestedApplyTime", "s", need);
    if (requested && !known.contains(*requested))
    {
        findings.warning(
            "the requested apply time is '" + *requested +
                "', which the library does not know: " + need.without,
            "set one of " + enumeration +
                "OnReset, Immediate, OnStartUpdateRequest");
    }
    else if (requested)
    {
        findings.ok("the requested apply time is " +
                    requested->substr(enumeration.size()));
    }
}
