// SPDX-License-Identifier: Apache-2.0
#include "../support/firmware_information.hpp"
#include "../support/host.hpp"
#include "../support/security_manager.hpp"
#include "../support/settings.hpp"
#include "site_words.hpp"

namespace test
{

static std::string uploadBmc(Manager& manager)
{
    return asText(
        manager.processUploadBmcImage(bmcImage(), Manager::UPLOAD_IMG_BMC, ""));
}

static std::string uploadBios(Manager& manager)
{
    return asText(manager.processUploadBiosImage(biosImage(),
                                                 Manager::UPLOAD_IMG_BIOS, ""));
}

static std::string uploadCapsule(Manager& manager)
{
    return asText(manager.processUploadBiosImage(capsuleImage(),
                                                 Manager::UPLOAD_IMG_BIOS, ""));
}

static CallSite record(const std::string& property, const std::string& version,
                       CallSite site)
{
    site.reads = Reads::nothing;
    site.service = firmware_information::service;
    site.path = firmware_information::path;
    site.interface = firmware_information::interface;
    site.member = "Set";
    site.property = property;
    site.propertyInterface = "xyz.openbmc_project.fwinfo.FwInfoManager";
    site.reply = [](sd_bus_message*) {};
    site.call = firmware_information::call(property, version);
    site.failure = {"{}", {firmware_information::failure("{}")}};
    return site;
}

static Events verified(const std::string& operation, const std::string& member,
                       const std::string& image)
{
    return {signature(operation), out("verify image: " + image),
            "call: " + member, out("Verify OK")};
}

static CallSite bmcRecord()
{
    return record(
        "stagingBMC", "1.0",
        {
            .name = "UploadBmcRecordingTheVersion",
            .operation = uploadBmc,
            .before = Events{uploadSignature("processUploadBmcImage")} +
                      verified("VerifyBMC", "verifyBmc", bmcImage()),
            .sentBefore = {security_manager::call("verifyBmc", bmcImage())},
            .success = {R"({extendedVersion: "", version: "1.0"})"},
        });
}

static CallSite biosRecord()
{
    return record(
        "stagingBIOS", "BIOS Date: 03/15/2024 Ver 1.4b",
        {
            .name = "UploadBiosRecordingTheVersion",
            .operation = uploadBios,
            .before =
                Events{uploadSignature("processUploadBiosImage"), "call: Get"} +
                verified("VerifyBIOS", "verifyBios", biosImage()),
            .sentBefore = {host::call(),
                           security_manager::call("verifyBios", biosImage())},
            .success = {R"({applyTime: "OnReset", extendedVersion: "", )"
                        R"(version: "1.4b"})",
                        {"call: Get"},
                        {settings::call()}},
        });
}

static const std::string capsuleResult =
    R"({applyTime: "OnReset", extendedVersion: "", version: "2.0"})";

static Events capsuleVerified()
{
    return Events{uploadSignature("processUploadBiosImage")} +
           verified("VerifyCapsule", "verifyCapsule", capsuleImage());
}

static CallSite capsuleRecord()
{
    return record(
        "stagingCapsuleMCU", "2.0",
        {
            .name = "UploadCapsuleRecordingTheVersion",
            .operation = uploadCapsule,
            .before = capsuleVerified(),
            .sentBefore = {security_manager::call("verifyCapsule",
                                                  capsuleImage())},
            .success = {capsuleResult, {"call: Get"}, {settings::call()}},
        });
}

static CallSite boardIdentity()
{
    return {
        .name = "CompareBoardIdentity",
        .reads = Reads::numberVariant,
        .service = host::service,
        .path = host::path,
        .interface = host::interface,
        .member = "Get",
        .reply = values("v", "q", 7),
        .operation =
            [](Manager& manager) {
                return asText(manager.compare_boardID(biosImage()));
            },
        .call = host::call(),
        .success = {"true"},
        .refusal = {"false", {errNotFlushed("boardID is mismatch\n")}},
        .failure = {"false", {err("boardID is mismatch: {}")}},
        .property = "BoardId",
        .propertyInterface = "com.WEXA.Host",
    };
}

static CallSite applyTime()
{
    const std::string without = R"({extendedVersion: "", version: "2.0"})";
    return {
        .name = "UploadCapsuleAskingForTheApplyTime",
        .reads = Reads::textVariant,
        .service = settings::service,
        .path = settings::path,
        .interface = settings::interface,
        .member = "Get",
        .reply = values("v", "s",
                        "xyz.openbmc_project.Software.ApplyTime."
                        "RequestedApplyTimes.OnReset"),
        .operation = uploadCapsule,
        .before = capsuleVerified() + Events{"call: Set"},
        .sentBefore = {security_manager::call("verifyCapsule", capsuleImage()),
                       firmware_information::call("stagingCapsuleMCU", "2.0")},
        .call = settings::call(),
        .success = {capsuleResult},
        .refusal = {without},
        .failure = {without, {settings::failure("{}")}},
        .property = "RequestedApplyTime",
        .propertyInterface = "xyz.openbmc_project.Software.ApplyTime",
    };
}

std::vector<CallSite> uploadSites()
{
    return {bmcRecord(), biosRecord(), capsuleRecord(), boardIdentity(),
            applyTime()};
}

} // namespace test
