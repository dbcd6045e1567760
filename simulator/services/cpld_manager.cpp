// SPDX-License-Identifier: Apache-2.0
#include "cpld_manager.hpp"

#include "../choice.hpp"

#include <algorithm>

namespace bmcsim
{

constexpr auto ownName = "xyz.openbmc_project.CpldUpdateMgrSvc";
constexpr auto managerPath = "/xyz/openbmc_project/cpld_update_mgr";
constexpr auto managerInterface =
    "xyz.openbmc_project.cpld_update_mgr.CpldUpdateMgrSvc";
constexpr auto deviceInterface =
    "xyz.openbmc_project.cpld_update_mgr.CpldDevice";

/** The CPLDs of the board. */
static const std::vector<CpldDevice>& fitted()
{
    static const std::vector<CpldDevice> devices{
        {"MB_CPLD", "jtag", 1, "1.0.3"},
        {"SCM_CPLD", "i2c", 2, "2.11"},
        {"FAN_CPLD", "i2c", 3, "0.9-rc1"},
    };
    return devices;
}

/** What can be chosen, by setting; the first is chosen from the start. */
static const std::map<std::string, std::vector<std::string>>& offered()
{
    static const std::map<std::string, std::vector<std::string>> choices{
        {"cpld-registry",
         {"normal", "wrong-type", "missing-member", "other-member",
          "duplicate-component", "duplicate-property", "empty-path",
          "malformed-path"}},
        {"cpld-device", {"normal", "absent", "error", "silent"}},
        {"cpld-version", {"normal", "missing", "empty", "wrong-type"}},
    };
    return choices;
}

CpldManager::CpldManager(const std::string& busAddress,
                         std::filesystem::path flash) :
    Service("cpld", ownName, busAddress), flash(std::move(flash)),
    bound(fitted())
{
    for (const auto& [setting, values] : offered())
    {
        choices[setting] = values.front();
    }
    changed();
}

std::vector<std::string> CpldManager::settings() const
{
    std::vector<std::string> names{"cpld-bound"};
    for (const auto& entry : offered())
    {
        names.push_back(entry.first);
    }
    return names;
}

void CpldManager::set(const std::string& name, const std::string& value)
{
    if (name == "cpld-bound")
    {
        bind(value);
        changed();
        connection()
            .newSignal(managerPath, managerInterface, "bindedDevicesChanged")
            .send();
        return;
    }
    choices[name] = chosenFrom(offered().at(name), value, name);
    changed();
}

/** @param components  separated by commas; may be empty */
void CpldManager::bind(const std::string& components)
{
    std::vector<std::string> known;
    for (const auto& device : fitted())
    {
        known.push_back(device.component);
    }
    std::vector<CpldDevice> wanted;
    for (const auto& name : allChosenFrom(known, components, "CPLD"))
    {
        wanted.push_back(
            *std::ranges::find(fitted(), name, &CpldDevice::component));
    }
    bound = wanted;
}

void CpldManager::changed()
{
    // Objects come and go with the devices; the types of their answers, with
    // what was chosen.
    devices.clear();
    manager.reset();
    offerManager();
    if (choices["cpld-device"] != "absent")
    {
        for (const auto& device : bound)
        {
            offerDevice(device);
        }
    }
}

template <typename Record>
auto CpldManager::registry(Record record) const
{
    std::vector<std::pair<std::string, decltype(record(bound.front()))>> list;
    list.reserve(bound.size());
    for (const auto& device : bound)
    {
        list.emplace_back(device.component, record(device));
    }
    return list;
}

auto CpldManager::fullRegistry() const
{
    const auto record = [this](const CpldDevice& device) {
        const auto& chosen = choices.at("cpld-registry");
        return std::tuple(told(device), device.driver,
                          propertiesOf(device, chosen == "duplicate-property"));
    };
    auto list = registry(record);
    if (choices.at("cpld-registry") == "duplicate-component")
    {
        for (const auto& [component, again] : registry(record))
        {
            list.emplace_back(component, again);
            std::get<1>(list.back().second) = "second";
        }
    }
    return list;
}

void CpldManager::offerManager()
{
    dbus::Interface<CpldManager> members(managerInterface);
    const auto offer = [&](auto make) {
        members.method("bindedDevices", "",
                       dbus::typeOf<decltype(make(std::as_const(*this)))>(),
                       [make](CpldManager& self, const dbus::Call& call) {
                           self.count(call.member());
                           self.failIfTold(false);
                           call.reply(make(std::as_const(self)));
                       });
    };
    const auto& chosen = choices.at("cpld-registry");
    if (behaviour() == Behaviour::wrongType)
    {
        offer([](const CpldManager&) { return std::uint32_t{}; });
    }
    else if (chosen == "wrong-type")
    {
        offer([](const CpldManager&) { return std::string("no registry"); });
    }
    else if (chosen == "missing-member")
    {
        offer([](const CpldManager& self) {
            return self.registry([](const CpldDevice& device) {
                return std::tuple(device.path(), device.driver);
            });
        });
    }
    else if (chosen == "other-member")
    {
        offer([](const CpldManager& self) {
            return self.registry([](const CpldDevice& device) {
                return std::tuple(device.path(), std::uint32_t{1},
                                  Properties());
            });
        });
    }
    else
    {
        offer([](const CpldManager& self) { return self.fullRegistry(); });
    }
    members.signal("bindedDevicesChanged", "");
    manager.emplace(connection(), managerPath, std::move(members), *this);
}

void CpldManager::offerDevice(const CpldDevice& device)
{
    dbus::Interface<CpldManager> members(deviceInterface);
    const auto offerAs = [&](const std::string& member, const std::string& in,
                             auto make) {
        const auto answer = [in, make](CpldManager& self, dbus::Call& call) {
            const auto argument =
                in.empty() ? std::string() : call.read<std::string>();
            self.count(call.member(), argument);
            if (self.choices["cpld-device"] != "silent")
            {
                self.failIfTold(true);
                call.reply(make(self, argument));
            }
        };
        members.method(member, in,
                       dbus::typeOf<decltype(make(*this, member))>(), answer);
    };
    const auto offer = [&](const std::string& member, const std::string& in,
                           auto make) {
        if (behaviour() == Behaviour::wrongType)
        {
            offerAs(member, in, [](const CpldManager&, const std::string&) {
                return std::uint32_t{};
            });
        }
        else
        {
            offerAs(member, in, make);
        }
    };
    offer("readMBVersionString", "",
          [device](const CpldManager& self, const std::string&) {
              return device.runningVersion(self.flash);
          });
    offer("readImageFileInfo", "s",
          [](const CpldManager& self, const std::string& image) {
              const auto& told = offered().at("cpld-version");
              const auto chosen =
                  std::ranges::find(told, self.choices.at("cpld-version"));
              return imageInfo(image,
                               static_cast<VersionTold>(chosen - told.begin()));
          });
    offer("verifyCPLD", "s",
          [device](const CpldManager& self, const std::string& image) {
              return self.behaviour() != Behaviour::refuse &&
                     device.accepts(image);
          });
    devices.emplace_back(connection(), device.path(), std::move(members),
                         *this);
}

void CpldManager::failIfTold(bool isOfDevice) const
{
    if (behaviour() == Behaviour::error ||
        (isOfDevice && choices.at("cpld-device") == "error"))
    {
        throw dbus::Error("org.freedesktop.DBus.Error.Failed",
                          "the simulated service was told to fail");
    }
}

/** The object path that the registry tells. */
std::string CpldManager::told(const CpldDevice& device) const
{
    const auto& chosen = choices.at("cpld-registry");
    if (chosen == "empty-path")
    {
        return "";
    }
    return chosen == "malformed-path" ? device.component : device.path();
}

std::map<std::string, std::string> CpldManager::values() const
{
    auto values = choices;
    std::vector<std::string> names;
    for (const auto& device : bound)
    {
        names.push_back(device.component);
        values[device.component] = device.runningVersion(flash);
    }
    values["cpld-bound"] = joined(names);
    return values;
}

} // namespace bmcsim
