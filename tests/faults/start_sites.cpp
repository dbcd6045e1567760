// SPDX-License-Identifier: Apache-2.0
#include "../support/systemd_manager.hpp"
#include "site_words.hpp"

namespace test
{

static CallSite start(CallSite site)
{
    site.service = systemd_manager::service;
    site.path = systemd_manager::path;
    site.interface = systemd_manager::interface;
    site.member = "StartUnit";
    site.call = systemd_manager::call(site.remembered);
    return site;
}

static CallSite bmcStart()
{
    const std::string unit =
        R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20-tmp-image.service)";
    return start({
        .name = "UpdateBmc",
        .reads = Reads::nothing,
        .reply = values("o", "/org/freedesktop/systemd1/job/7"),
        .operation =
            [](Manager& manager) {
                return asText(
                    manager.UpdateBMC("/tmp/image", VersionPurpose::BMC, ""));
            },
        .before = {out("flashWrite bmc-rot2 start."),
                   out("image_path: /tmp/image")},
        .announcement = {out("bmcServiceFile: " + unit)},
        .success = {"0"},
        .failure = {"-5", {err("Error in trying to upgrade bmc-rot2: {}")}},
        .remembered = unit,
    });
}

static CallSite biosStart()
{
    return start({
        .name = "UpdateBios",
        .reads = Reads::nothing,
        .reply = values("o", "/org/freedesktop/systemd1/job/7"),
        .operation =
            [](Manager& manager) {
                return asText(
                    manager.UpdateBIOS("/tmp/image", VersionPurpose::Host, ""));
            },
        .before = {out("flashWriteBios: /tmp/image")},
        .success = {"0"},
        .failure = {"-5", {err("Error in trying to upgrade Host Bios: {}")}},
        .remembered =
            R"(obmc-flash-host-bios@bios_rot2\x20update\x20-tmp-image.service)",
    });
}

static CallSite cpldStart()
{
    return start({
        .name = "UpdateCpld",
        .reads = Reads::boolean,
        .reply = values("b", 1),
        .operation =
            [](Manager& manager) {
                return asText(manager.UpdateCPLD("/tmp/image",
                                                 VersionPurpose::Host, "MB"));
            },
        .before = {signature("UpdateCPLD"), out("flashWrite cpld-rot2 start."),
                   out("compoment: MB, image_path: /tmp/image")},
        .success = {"0", {out("Verify OK")}},
        .refusal = {"-1", {out("Verify false")}},
        .failure = {"-5", {err("Error in trying to upgrade cpld_rot2: {}")}},
        .remembered = R"(obmc-flash-bmc-rot2@cpld_rot2\x20update\x20MB\x20)"
                      "-tmp-image.service",
    });
}

std::vector<CallSite> startSites()
{
    return {bmcStart(), biosStart(), cpldStart()};
}

} // namespace test
