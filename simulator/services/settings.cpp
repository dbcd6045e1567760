// SPDX-License-Identifier: Apache-2.0
#include "settings.hpp"

namespace bmcsim
{

constexpr auto path = "/xyz/openbmc_project/software/apply_time";
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
    dbus::Interface<Settings> members(interface);
    if (behaviour() == Behaviour::wrongType)
    {
        members.property(property, dbus::Changes::told, [](Settings& settings) {
            settings.count("Get");
            return std::uint32_t{};
        });
    }
    else
    {
        members.property(
            property, dbus::Changes::told,
            [](Settings& settings) {
                settings.count("Get");
                settings.answerErrorIfTold();
                return settings.applyTime;
            },
            [](Settings& settings, const std::string& value) {
                settings.count("Set");
                settings.answerErrorIfTold();
                settings.applyTime = value;
                settings.connection().tellChanges(path, interface, {property});
            });
    }
    object.reset();
    object.emplace(connection(), path, std::move(members), *this);
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
