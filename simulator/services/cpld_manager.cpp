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
        manager->emitSignal(
            manager->createSignal(managerInterface, "bindedDevicesChanged"));
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
    manager = sdbus::createObject(ownConnection(), managerPath);
    manager->registerMethod(managerInterface, "bindedDevices", "",
                            registryType(), [this](sdbus::MethodCall call) {
                                count(call.getMemberName());
                                answer(call, [this](sdbus::MethodReply& reply) {
                                    appendRegistry(reply);
                                });
                            });
    manager->registerSignal(managerInterface, "bindedDevicesChanged", "");
    manager->finishRegistration();
    if (choices["cpld-device"] != "absent")
    {
        for (const auto& device : bound)
        {
            offerDevice(device);
        }
    }
}

std::string CpldManager::registryType() const
{
    const auto& chosen = choices.at("cpld-registry");
    if (behaviour() == Behaviour::wrongType)
    {
        return "u";
    }
    if (chosen == "wrong-type")
    {
        return "s";
    }
    if (chosen == "missing-member")
    {
        return "a{s(ss)}";
    }
    return chosen == "other-member" ? "a{s(sua{sv})}" : "a{s(ssa{sv})}";
}

void CpldManager::offerDevice(const CpldDevice& device)
{
    auto object = sdbus::createObject(ownConnection(), device.path());
    const auto offer = [&](const std::string& member, const char* input,
                           const char* output, auto append) {
        object->registerMethod(
            deviceInterface, member, input,
            behaviour() == Behaviour::wrongType ? "u" : output,
            [this, append](sdbus::MethodCall call) {
                std::string argument;
                if (call.getMemberName() != "readMBVersionString")
                {
                    call >> argument;
                }
                count(call.getMemberName(), argument);
                if (choices["cpld-device"] == "silent")
                {
                    return;
                }
                answer(call, [&](sdbus::MethodReply& reply) {
                    append(reply, argument);
                });
            });
    };
    offer("readMBVersionString", "", "s",
          [this, device](sdbus::MethodReply& reply, const std::string&) {
              reply << device.runningVersion(flash);
          });
    offer("readImageFileInfo", "s", "a{sv}",
          [this](sdbus::MethodReply& reply, const std::string& image) {
              const auto& told = offered().at("cpld-version");
              const auto chosen =
                  std::ranges::find(told, choices["cpld-version"]);
              appendImageInfo(reply, image,
                              static_cast<VersionTold>(chosen - told.begin()));
          });
    offer("verifyCPLD", "s", "b",
          [this, device](sdbus::MethodReply& reply, const std::string& image) {
              reply << (behaviour() != Behaviour::refuse &&
                        device.accepts(image));
          });
    object->finishRegistration();
    devices.push_back(std::move(object));
}

void CpldManager::answer(sdbus::MethodCall& call,
                         const std::function<void(sdbus::MethodReply&)>& append)
{
    const auto isOfDevice = call.getInterfaceName() == deviceInterface;
    if (behaviour() == Behaviour::error ||
        (isOfDevice && choices["cpld-device"] == "error"))
    {
        throw sdbus::Error("org.freedesktop.DBus.Error.Failed",
                           "the simulated service was told to fail");
    }
    auto reply = call.createReply();
    if (behaviour() == Behaviour::wrongType)
    {
        reply << std::uint32_t{};
    }
    else
    {
        append(reply);
    }
    reply.send();
}

void CpldManager::appendRegistry(sdbus::MethodReply& reply) const
{
    const auto& chosen = choices.at("cpld-registry");
    if (chosen == "wrong-type")
    {
        reply << "no registry";
        return;
    }
    if (chosen == "missing-member")
    {
        std::map<std::string, sdbus::Struct<std::string, std::string>> records;
        for (const auto& device : bound)
        {
            records[device.component] = {device.path(), device.driver};
        }
        reply << records;
        return;
    }
    if (chosen == "other-member")
    {
        std::map<std::string,
                 sdbus::Struct<std::string, std::uint32_t,
                               std::map<std::string, sdbus::Variant>>>
            records;
        for (const auto& device : bound)
        {
            records[device.component] = {device.path(), 1, {}};
        }
        reply << records;
        return;
    }
    reply.openContainer("{s(ssa{sv})}");
    for (const auto& device : bound)
    {
        appendRecord(reply, device);
    }
    if (chosen == "duplicate-component")
    {
        for (auto again : bound)
        {
            again.driver = "second";
            appendRecord(reply, again);
        }
    }
    reply.closeContainer();
}

void CpldManager::appendRecord(sdbus::MethodReply& reply,
                               const CpldDevice& device) const
{
    reply.openDictEntry("s(ssa{sv})");
    reply << device.component;
    reply.openStruct("ssa{sv}");
    reply << told(device) << device.driver;
    appendProperties(reply, device,
                     choices.at("cpld-registry") == "duplicate-property");
    reply.closeStruct();
    reply.closeDictEntry();
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
