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
    // The type of an answer is part of the object: a new one has another.
    object.reset();
    object =
        sdbus::createObject(ownConnection(), "/xyz/openbmc_project/security");
    for (const auto& member : offered.chosen())
    {
        offer(member, kinds.at(member));
    }
    object->finishRegistration();
}

void SecurityManager::offer(const std::string& member, std::uint16_t kind)
{
    object->registerMethod(interface, member, "s",
                           behaviour() == Behaviour::wrongType ? "s" : "b",
                           [this, kind](sdbus::MethodCall call) {
                               answer(std::move(call), kind);
                           });
}

void SecurityManager::answer(sdbus::MethodCall call, std::uint16_t kind)
{
    std::string path;
    call >> path;
    count(call.getMemberName(), path);
    auto reply = call.createReply();
    if (behaviour() == Behaviour::wrongType)
    {
        reply << "authentic";
    }
    else if (behaviour() == Behaviour::refuse)
    {
        reply << false;
    }
    else
    {
        answerErrorIfTold();
        const auto image = authenticate(path);
        reply << (image && image->kind == kind);
    }
    reply.send();
}

} // namespace bmcsim
