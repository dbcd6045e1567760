// SPDX-License-Identifier: Apache-2.0
#include "security_manager.hpp"

#include "../image_check.hpp"

namespace bmcsim
{

constexpr auto interface = "xyz.openbmc_project.security.SecurityManager";

SecurityManager::SecurityManager(const std::string& busAddress) :
    Service("security", "xyz.openbmc_project.SecurityManager", busAddress)
{
    changed();
}

void SecurityManager::changed()
{
    // The type of an answer is part of the object: a new one has another.
    object.reset();
    object =
        sdbus::createObject(ownConnection(), "/xyz/openbmc_project/security");
    offer("verifyBmc", imageKind::bmc);
    offer("verifyBios", imageKind::bios);
    offer("verifyCapsule", imageKind::capsule);
    object->finishRegistration();
}

void SecurityManager::offer(const std::string& member, std::uint16_t kind)
{
    object->registerMethod(interface, member, "s",
                           behaviour() == Behaviour::wrongType ? "s" : "b",
                           [this, kind](sdbus::MethodCall call) {
                               count(call.getMemberName());
                               answer(std::move(call), kind);
                           });
}

void SecurityManager::answer(sdbus::MethodCall call, std::uint16_t kind)
{
    std::string path;
    call >> path;
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
