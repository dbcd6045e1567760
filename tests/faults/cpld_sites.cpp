// SPDX-License-Identifier: Apache-2.0
#include "../support/cpld_manager.hpp"
#include "site_words.hpp"

namespace test
{

static void devices(sd_bus_message* reply)
{
    cpld_manager::appendRegistry(
        reply, {{"MB",
                 cpldDevice,
                 "jtag",
                 {cpld_manager::property("odd", "i", std::int32_t{0}),
                  cpld_manager::property("slot", "u", std::uint32_t{3})}}});
}

static void imageProperties(sd_bus_message* reply)
{
    cpld_manager::appendProperties(
        reply, {cpld_manager::property("odd", "i", std::int32_t{0}),
                cpld_manager::text("versionString", "1.2")});
}

static std::string describeCpldImage(Manager& manager)
{
    return asText(manager.getCPLDImageFileInfo("MB", cpldImage));
}

static std::string verifyCpld(Manager& manager)
{
    return asText(manager.VerifyCPLD(cpldImage, VersionPurpose::Host, "MB"));
}

static CallSite cpldVerification()
{
    return {
        .name = "VerifyCpldAskingTheDevice",
        .reads = Reads::boolean,
        .service = cpld_manager::service,
        .path = cpldDevice,
        .interface = cpld_manager::deviceInterface,
        .member = "verifyCPLD",
        .reply = values("b", 1),
        .operation = verifyCpld,
        .before = {signature("VerifyCPLD"), out("Verify MB, image: /dev/null"),
                   "call: bindedDevices"},
        .announcement = {out("verify image: /dev/null")},
        .sentBefore = {cpld_manager::registryCall()},
        .call = cpld_manager::call(cpldDevice, "verifyCPLD", cpldImage),
        .success = {"0", {out("Verify OK")}},
        .refusal = {"-1", {out("Verify failed")}},
        .failure = {"-5",
                    {err("Error in security method call for "
                         "(/xyz/openbmc_project/cpld_update_mgr/mb, "
                         "xyz.openbmc_project.cpld_update_mgr.CpldDevice: "
                         "{}")}},
    };
}

static CallSite registryQuery(CallSite site)
{
    site.reads = Reads::registry;
    site.service = cpld_manager::service;
    site.path = cpld_manager::path;
    site.interface = cpld_manager::interface;
    site.member = "bindedDevices";
    site.reply = devices;
    site.call = cpld_manager::registryCall();
    return site;
}

static CallSite registryForAnImage()
{
    return registryQuery({
        .name = "DescribeCpldImageAskingForTheDevices",
        .operation = describeCpldImage,
        .success = {R"({odd: 0 0, versionString: 4 1.2})",
                    {"call: readImageFileInfo"},
                    {cpld_manager::call(cpldDevice, "readImageFileInfo",
                                        cpldImage)}},
        .refusal = {"SdBusError: sd_bus_message_new_method_call: "
                    "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument"},
        .failure = {"{}",
                    {err("ERROR !! Failed to prepare CPLD info: "
                         "(xyz.openbmc_project.CpldUpdateMgrSvc, "
                         "/xyz/openbmc_project/cpld_update_mgr, "
                         "xyz.openbmc_project.cpld_update_mgr."
                         "CpldUpdateMgrSvc): {}")}},
    });
}

static CallSite registryForADiscovery()
{
    return registryQuery({
        .name = "DiscoverCplds",
        .operation =
            [](Manager& manager) {
                return asText(manager.getAvailableCpldCompsInfo());
            },
        .before = {out("[getAvailableCpldCompsInfo]")},
        .success = {R"({MB: "7" {odd: 0 0, slot: 2 3}})",
                    {out("Add component MB, dev "
                         "/xyz/openbmc_project/cpld_update_mgr/mb, drv jtag"),
                     "call: readMBVersionString"},
                    {cpld_manager::call(cpldDevice, "readMBVersionString")}},
        .refusal = {"{}"},
        .failure = {"{}", {err("ERROR !! Failed to prepare CPLD info: {}")}},
    });
}

static CallSite registryForAVerification()
{
    return registryQuery({
        .name = "VerifyCpldAskingForTheDevices",
        .operation = verifyCpld,
        .before = {signature("VerifyCPLD"), out("Verify MB, image: /dev/null")},
        .success = {"0",
                    {out("verify image: /dev/null"), "call: verifyCPLD",
                     out("Verify OK")},
                    {cpld_manager::call(cpldDevice, "verifyCPLD", cpldImage)}},
        .refusal = {"-2",
                    {err("ERROR !! Failed to find the target CPLD device: "
                         "MB")}},
        .failure = {"-5",
                    {err("ERROR !! Failed to obtain avaialble CPLD devices. "
                         "(xyz.openbmc_project.CpldUpdateMgrSvc,"
                         "/xyz/openbmc_project/cpld_update_mgr,"
                         "xyz.openbmc_project.cpld_update_mgr."
                         "CpldUpdateMgrSvc): {}")}},
    });
}

static CallSite imageInformation()
{
    return {
        .name = "DescribeCpldImageAskingTheDevice",
        .reads = Reads::properties,
        .service = cpld_manager::service,
        .path = cpldDevice,
        .interface = cpld_manager::deviceInterface,
        .member = "readImageFileInfo",
        .reply = imageProperties,
        .operation = describeCpldImage,
        .before = {"call: bindedDevices"},
        .sentBefore = {cpld_manager::registryCall()},
        .call = cpld_manager::call(cpldDevice, "readImageFileInfo", cpldImage),
        .success = {R"({odd: 0 0, versionString: 4 1.2})"},
        .refusal = {"{}"},
        .failure = {"{}",
                    {err("ERROR !! Failed to prepare CPLD image file info: "
                         "(xyz.openbmc_project.CpldUpdateMgrSvc, "
                         "/xyz/openbmc_project/cpld_update_mgr/mb, "
                         "xyz.openbmc_project.cpld_update_mgr.CpldDevice, "
                         "image file: /dev/null): {}")}},
    };
}

static CallSite runningVersion()
{
    return {
        .name = "RunningCpldVersion",
        .reads = Reads::text,
        .service = cpld_manager::service,
        .path = cpldDevice,
        .interface = cpld_manager::deviceInterface,
        .member = "readMBVersionString",
        .reply = values("s", "7"),
        .operation =
            [](Manager& manager) {
                return asText(manager.getCPLDVersionString(cpldDevice));
            },
        .call = cpld_manager::call(cpldDevice, "readMBVersionString"),
        .success = {"\"7\""},
        .refusal = {"\"\""},
        .failure = {"\"\"",
                    {err("Error in method call for "
                         "(xyz.openbmc_project.CpldUpdateMgrSvc, "
                         "/xyz/openbmc_project/cpld_update_mgr/mb, "
                         "xyz.openbmc_project.cpld_update_mgr.CpldDevice: "
                         "{})")}},
    };
}

std::vector<CallSite> cpldSites()
{
    return {registryForAnImage(),       registryForADiscovery(),
            registryForAVerification(), cpldVerification(),
            imageInformation(),         runningVersion()};
}

} // namespace test
