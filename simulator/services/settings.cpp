// SPDX-License-Identifier: Apache-2.0
#include "settings.hpp"

namespace bmcsim
{

constexpr auto interface = "xyz.openbmc_project.Software.ApplyTime";
constexpr auto property = "RequestedApplyTime";

Settings::Settings(const std::string& busAddress) :
    Service("settings", "xyz.openbmc_project.Settings", busAddress)
{
    set("apply-time", "Immediate");
    changed();
}

void Settings::changed()
{
    // The type of a property is part of the object: a new one has another.
    object.reset();
    object = sdbus::createObject(ownConnection(),
                                 "/xyz/openbmc_project/software/apply_time");
    if (behaviour() == Behaviour::wrongType)
    {
        offerNumber();
    }
    else
    {
        offerText();
    }
    object->finishRegistration();
}

void Settings::offerText()
{
    object->registerProperty(
        interface, property, "s",
        [this](sdbus::PropertyGetReply& reply) {
            count("Get");
            answerErrorIfTold();
            reply << applyTime;
        },
        [this](sdbus::PropertySetCall& call) {
            count("Set");
            answerErrorIfTold();
            call >> applyTime;
            object->emitPropertiesChangedSignal(interface, {property});
        });
}

void Settings::offerNumber()
{
    object->registerProperty(interface, property, "u",
                             [this](sdbus::PropertyGetReply& reply) {
                                 count("Get");
                                 reply << std::uint32_t{};
                             });
}

void Settings::set(const std::string&, const std::string& value)
{
    applyTime = value.find('.') == std::string::npos
                    ? std::string(interface) + ".RequestedApplyTimes." + value
                    : value;
}

std::map<std::string, std::string> Settings::values() const
{
    return {{"apply-time", applyTime}};
}

} // namespace bmcsim
