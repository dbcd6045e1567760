// SPDX-License-Identifier: Apache-2.0
#include "firmware_information.hpp"

namespace bmcsim
{

constexpr auto path = "/xyz/openbmc_project/fwinfo";
constexpr auto interface = "xyz.openbmc_project.fwinfo.FwInfoManager";

FirmwareInformation::FirmwareInformation(const std::string& busAddress) :
    Service("fwinfo", "xyz.openbmc_project.FwInfoManager", busAddress),
    offered("fwinfo-offers",
            {"stagingBMC", "stagingBIOS", "stagingCapsuleMCU"}),
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
    for (const auto& property : offered.chosen())
    {
        object->registerProperty(
            interface, property, "s",
            [this, property](sdbus::PropertyGetReply& reply) {
                reply << staged.at(property);
            },
            [this, property](sdbus::PropertySetCall& call) {
                std::string version;
                call >> version;
                auto asked = property;
                count("Set", asked.append(" ").append(version));
                stage(property, version);
            });
    }
}

void FirmwareInformation::offerNumbers()
{
    for (const auto& property : offered.chosen())
    {
        object->registerProperty(
            interface, property, "u",
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

std::vector<std::string> FirmwareInformation::settings() const
{
    return {offered.name()};
}

void FirmwareInformation::set(const std::string&, const std::string& value)
{
    offered.choose(value);
    changed();
}

std::map<std::string, std::string> FirmwareInformation::values() const
{
    auto values = staged;
    values[offered.name()] = offered.asText();
    return values;
}

} // namespace bmcsim
