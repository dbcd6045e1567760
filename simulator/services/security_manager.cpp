// SPDX-License-Identifier: Apache-2.0
#include "security_manager.hpp"

#include "../image_check.hpp"

namespace bmcsim
{

constexpr auto interface = "xyz.openbmc_project.security.SecurityManager";

/** What it can judge. */
static const std::map<std::string, std::uint16_t> kinds{
    {"verifyBmc", imageKind::bmc},
    {"verifyBios", imageKind::bios},
    {"verifyCapsule", imageKind::capsule},
};

SecurityManager::SecurityManager(const std::string& busAddress) :
    Service("security", "xyz.openbmc_project.SecurityManager", busAddress),
    offered("security-offers", {"verifyBmc", "verifyBios", "verifyCapsule"})
{
    changed();
}

std::vector<std::string> SecurityManager::settings() const
{
    return {offered.name()};
}

void SecurityManager::set(const std::string&, const std::string& value)
{
    offered.choose(value);
    changed();
}

std::map<std::string, std::string> SecurityManager::values() const
{
    return {{offered.name(), offered.asText()}};
}

void SecurityManager::changed()
{
    dbus::Interface<SecurityManager> members(interface);
    for (const auto& member : offered.chosen())
    {
        members.method(
            member, "s", behaviour() == Behaviour::wrongType ? "s" : "b",
            [kind = kinds.at(member)](SecurityManager& self, dbus::Call& call) {
                self.answer(call, kind);
            });
    }
    object.reset();
    object.emplace(connection(), "/xyz/openbmc_project/security",
                   std::move(members), *this);
}

void SecurityManager::answer(dbus::Call& call, std::uint16_t kind)
{
    const auto path = call.read<std::string>();
    count(call.member(), path);
    if (behaviour() == Behaviour::wrongType)
    {
        call.reply(std::string("authentic"));
    }
    else if (behaviour() == Behaviour::refuse)
    {
        call.reply(false);
    }
    else
    {
        answerErrorIfTold();
        const auto image = authenticate(path);
        call.reply(image && image->kind == kind);
    }
}

} // namespace bmcsim
