// SPDX-License-Identifier: Apache-2.0
#include "firmware_information.hpp"

namespace bmcsim
{

constexpr auto path = "/xyz/openbmc_project/fwinfo";
constexpr auto interface = "xyz.openbmc_project.fwinfo.FwInfoManager";

FirmwareInformation::FirmwareInformation(const std::string& busAddress) :
    Service("fwinfo", "xyz.openbmc_project.FwInfoManager", busAddress),
    versions{{"stagingBMC", ""}, {"stagingBIOS", ""}, {"stagingCapsuleMCU", ""}}
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
    for (const auto& entry : versions)
    {
        const auto& property = entry.first;
        object->registerProperty(
            interface, property, "s",
            [this, property](sdbus::PropertyGetReply& reply) {
                reply << versions.at(property);
            },
            [this, property](sdbus::PropertySetCall& call) {
                count("Set");
                std::string version;
                call >> version;
                set(property, version);
            });
    }
}

void FirmwareInformation::offerNumbers()
{
    for (const auto& entry : versions)
    {
        object->registerProperty(
            interface, entry.first, "u",
            [](sdbus::PropertyGetReply& reply) { reply << std::uint32_t{}; },
            [](sdbus::PropertySetCall&) {});
    }
}

void FirmwareInformation::set(const std::string& property,
                              const std::string& version)
{
    if (behaviour() == Behaviour::refuse)
    {
        throw sdbus::Error("org.freedesktop.DBus.Error.AccessDenied",
                           "the simulated service was told to refuse");
    }
    if (behaviour() == Behaviour::error)
    {
        answerError();
    }
    versions.at(property) = version;
    object->emitPropertiesChangedSignal(interface, {property});
}

void FirmwareInformation::describe(nlohmann::json& state) const
{
    state["staged"] = versions;
}

} // namespace bmcsim
