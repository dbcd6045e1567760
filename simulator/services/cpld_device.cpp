// SPDX-License-Identifier: Apache-2.0
#include "cpld_device.hpp"

#include "../image_check.hpp"

namespace bmcsim
{

std::string CpldDevice::path() const
{
    return "/xyz/openbmc_project/cpld_update_mgr/" + component;
}

std::string CpldDevice::runningVersion(const std::filesystem::path& flash) const
{
    const auto flashed = authenticate(flash / ("cpld-" + component));
    return flashed ? flashed->version : firstVersion;
}

bool CpldDevice::accepts(const std::string& image) const
{
    const auto examined = authenticate(imageFileOf(image));
    return examined && examined->kind == imageKind::cpld &&
           examined->board == identifier;
}

Properties propertiesOf(const CpldDevice& device, bool twice)
{
    Properties properties{
        {"vendor", "WEXA"},
        {"deviceId", std::uint32_t{device.identifier}},
        {"flashBytes", std::uint64_t{8} << 20},
        {"temperatureLimit", std::int32_t{85}},
        {"madeAt", std::int64_t{1710460800}},
        {"removable", false},
        {"supplyVolts", 3.3},
        {"inventory", dbus::ObjectPath("/xyz/openbmc_project/inventory/" +
                                       device.component)},
        {"tags", std::vector<std::string>{"cpld", device.driver}},
    };
    if (twice)
    {
        properties.emplace_back("vendor", "second");
    }
    return properties;
}

Properties imageInfo(const std::string& image, VersionTold version)
{
    const auto file = imageFileOf(image);
    const auto examined = examine(file);
    if (!examined || examined->kind != imageKind::cpld)
    {
        throw dbus::Error("xyz.openbmc_project.cpld_update_mgr.NoImage",
                          file + " is no CPLD image");
    }
    Properties properties{{"deviceId", std::uint32_t{examined->board}},
                          {"fileName", file}};
    constexpr auto told = "versionString";
    switch (version)
    {
        case VersionTold::normal:
            properties.emplace_back(told, examined->version);
            break;
        case VersionTold::empty:
            properties.emplace_back(told, "");
            break;
        case VersionTold::wrongType:
            properties.emplace_back(told, std::uint32_t{1});
            break;
        case VersionTold::missing:
            break;
    }
    return properties;
}

} // namespace bmcsim
