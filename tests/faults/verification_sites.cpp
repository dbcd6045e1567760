// SPDX-License-Identifier: Apache-2.0
#include "../support/security_manager.hpp"
#include "site_words.hpp"

namespace test
{

/** The security manager's verifications, asked for directly. */
static CallSite verification(const std::string& operation,
                             const std::string& member, auto verify)
{
    return {
        .name = operation,
        .reads = Reads::boolean,
        .service = security_manager::service,
        .path = security_manager::path,
        .interface = security_manager::interface,
        .member = member,
        .reply = values("b", 1),
        .operation = verify,
        .before = {signature(operation)},
        .announcement = {out("verify image: /tmp/image")},
        .sentBefore = {},
        .call = security_manager::call(member, "/tmp/image"),
        .success = {"0", {out("Verify OK")}},
        .refusal = {"-1", {out("Verify false")}},
        .failure = {"-5", {security_manager::failure("{}")}},
    };
}

std::vector<CallSite> verificationSites()
{
    return {
        verification("VerifyBMC", "verifyBmc",
                     [](Manager& manager) {
                         return asText(manager.VerifyBMC(
                             "/tmp/image", VersionPurpose::BMC, ""));
                     }),
        verification("VerifyBIOS", "verifyBios",
                     [](Manager& manager) {
                         return asText(manager.VerifyBIOS(
                             "/tmp/image", VersionPurpose::Host, ""));
                     }),
        verification("VerifyCapsule", "verifyCapsule",
                     [](Manager& manager) {
                         return asText(manager.VerifyCapsule(
                             "/tmp/image", VersionPurpose::Host, ""));
                     }),
    };
}

} // namespace test
