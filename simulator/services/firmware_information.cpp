// SPDX-License-Identifier: Apache-2.0
#include "firmware_information.hpp"

namespace bmcsim
{

constexpr auto path = "/xyz/openbmc_project/fwinfo";
constexpr auto interface = "xyz.openbmc_project.fwinfo.FwInfoManager";

FirmwareInformation::FirmwareInformation(const std::string& busAddress) :
    Service("fwinfo", "xyz.openbmc_project.FwInfoManager", busAddress),
    staged{{"stagingBMC", ""}, {"stagingBIOS", ""}, {"stagingCapsuleMCU", ""}}
{
    changed();
}

void FirmwareInformation::changed()
{
    // The type of a property is part of the object: a new one has another.
    object.reset();
    object = sdbus::createObject(ownConnection(), path);
    if (behaviour() == Behaviour::wrongType)
    {
        offerNumbers();
    }
    else
    {
        offerTexts();
    }
    object->finishRegistration();
}

void FirmwareInformation::offerTexts()
{
    for (const auto& entry : staged)
    {
        const auto& property = entry.first;
        object->registerProperty(
            interface, property, "s",
            [this, property](sdbus::PropertyGetReply& reply) {
                reply << staged.at(property);
            },
            [this, property](sdbus::PropertySetCall& call) {
                count("Set");
                std::string version;
                call >> version;
                stage(property, version);
            });
    }
}

void FirmwareInformation::offerNumbers()
{
    for (const auto& entry : staged)
    {
        object->registerProperty(
            interface, entry.first, "u",
            [](sdbus::PropertyGetReply& reply) { reply << std::uint32_t{}; },
            [](sdbus::PropertySetCall&) {});
    }
}

void FirmwareInformation::stage(const std::string& property,
                                const std::string& version)
{
    answerErrorIfTold();
    staged.at(property) = version;
    object->emitPropertiesChangedSignal(interface, {property});
}

std::map<std::string, std::string> FirmwareInformation::values() const
{
    return staged;
}

} // namespace bmcsim
