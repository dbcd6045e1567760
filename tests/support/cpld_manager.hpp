// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scripted_service.hpp"

#include <string>
#include <vector>

/** The CPLD update manager as the library must address it, and its replies. */
namespace test::cpld_manager
{

constexpr auto service = "xyz.openbmc_project.CpldUpdateMgrSvc";
constexpr auto path = "/xyz/openbmc_project/cpld_update_mgr";
constexpr auto interface =
    "xyz.openbmc_project.cpld_update_mgr.CpldUpdateMgrSvc";
constexpr auto deviceInterface =
    "xyz.openbmc_project.cpld_update_mgr.CpldDevice";

/** Appends a property, or several, to an open a{sv}. */
using Properties = std::function<void(sd_bus_message*)>;

/** A property of a basic type. */
template <typename Value>
Properties property(std::string name, std::string type, Value value)
{
    return [=](sd_bus_message* message) {
        check(sd_bus_message_append(message, "{sv}", name.c_str(), type.c_str(),
                                    value),
              "property");
    };
}

inline Properties text(std::string name, std::string value)
{
    return [=](sd_bus_message* message) {
        check(sd_bus_message_append(message, "{sv}", name.c_str(), "s",
                                    value.c_str()),
              "property");
    };
}

/** Appends a whole a{sv}. */
inline void appendProperties(sd_bus_message* message,
                             const std::vector<Properties>& properties)
{
    check(sd_bus_message_open_container(message, 'a', "{sv}"), "open");
    for (const auto& append : properties)
    {
        append(message);
    }
    check(sd_bus_message_close_container(message), "close");
}

struct Device
{
    std::string component;
    std::string path;
    std::string driver;
    std::vector<Properties> properties;
};

/** Appends a whole a{s(ssa{sv})}. */
inline void appendRegistry(sd_bus_message* message,
                           const std::vector<Device>& devices)
{
    check(sd_bus_message_open_container(message, 'a', "{s(ssa{sv})}"), "open");
    for (const auto& device : devices)
    {
        check(sd_bus_message_open_container(message, 'e', "s(ssa{sv})"),
              "open");
        check(sd_bus_message_append(message, "s", device.component.c_str()),
              "append");
        check(sd_bus_message_open_container(message, 'r', "ssa{sv}"), "open");
        check(sd_bus_message_append(message, "ss", device.path.c_str(),
                                    device.driver.c_str()),
              "append");
        appendProperties(message, device.properties);
        check(sd_bus_message_close_container(message), "close");
        check(sd_bus_message_close_container(message), "close");
    }
    check(sd_bus_message_close_container(message), "close");
}

inline Reply registry(std::vector<Device> devices)
{
    return reply::built([devices](sd_bus_message* message) {
        appendRegistry(message, devices);
    });
}

inline Reply properties(std::vector<Properties> properties)
{
    return reply::built([properties](sd_bus_message* message) {
        appendProperties(message, properties);
    });
}

inline Method bindedDevices(Reply reply)
{
    return {path, interface, "bindedDevices", std::move(reply)};
}

/** A method of the object of a device. */
inline Method method(const std::string& device, const std::string& member,
                     Reply reply)
{
    return {device, deviceInterface, member, std::move(reply)};
}

/** The call of the registry, as sent. */
inline std::string registryCall()
{
    return std::string(service) + ' ' + path + ' ' + interface +
           ".bindedDevices()";
}

/** The call of a device's method, as sent. */
inline std::string call(const std::string& device, const std::string& member)
{
    return std::string(service) + ' ' + device + ' ' + deviceInterface + '.' +
           member + "()";
}

inline std::string call(const std::string& device, const std::string& member,
                        const std::string& argument)
{
    return std::string(service) + ' ' + device + ' ' + deviceInterface + '.' +
           member + "(s) \"" + argument + '"';
}

constexpr auto notARegistry =
    "sd_bus_message_enter_container emplace_container: System.Error.ENXIO: "
    "No such device or address";

} // namespace test::cpld_manager
