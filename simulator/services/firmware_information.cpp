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
    using Self = FirmwareInformation;
    dbus::Interface<Self> members(interface);
    for (const auto& property : offered.chosen())
    {
        if (behaviour() == Behaviour::wrongType)
        {
            members.property(
                property, dbus::Changes::told,
                [](Self&) { return std::uint32_t{}; },
                [](Self&, std::uint32_t) {});
            continue;
        }
        members.property(
            property, dbus::Changes::told,
            [property](Self& self) { return self.staged.at(property); },
            [property](Self& self, const std::string& version) {
                auto asked = property;
                self.count("Set", asked.append(" ").append(version));
                self.stage(property, version);
            });
    }
    object.reset();
    object.emplace(connection(), path, std::move(members), *this);
}

void FirmwareInformation::stage(const std::string& property,
                                const std::string& version)
{
    answerErrorIfTold();
    staged.at(property) = version;
    connection().tellChanges(path, interface, {property});
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
