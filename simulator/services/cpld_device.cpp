// SPDX-License-Identifier: Apache-2.0
#include "cpld_device.hpp"

#include "../image_check.hpp"

#include <vector>

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

namespace
{

/** An open `a{sv}`, closed with the object. */
class Dictionary
{
  public:
    explicit Dictionary(sdbus::Message& message) : message(message)
    {
        message.openContainer("{sv}");
    }

    ~Dictionary()
    {
        message.closeContainer();
    }

    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;

    template <typename Value>
    void add(const std::string& name, const Value& value)
    {
        message.openDictEntry("sv");
        message << name << sdbus::Variant(value);
        message.closeDictEntry();
    }

  private:
    sdbus::Message& message;
};

} // namespace

void appendProperties(sdbus::Message& message, const CpldDevice& device,
                      bool twice)
{
    Dictionary properties(message);
    properties.add("vendor", std::string("WEXA"));
    properties.add("deviceId", std::uint32_t{device.identifier});
    properties.add("flashBytes", std::uint64_t{8} << 20);
    properties.add("temperatureLimit", std::int32_t{85});
    properties.add("madeAt", std::int64_t{1710460800});
    properties.add("removable", false);
    properties.add("supplyVolts", 3.3);
    properties.add("inventory",
                   sdbus::ObjectPath("/xyz/openbmc_project/inventory/" +
                                     device.component));
    properties.add("tags", std::vector<std::string>{"cpld", device.driver});
    if (twice)
    {
        properties.add("vendor", std::string("second"));
    }
}

void appendImageInfo(sdbus::Message& message, const std::string& image,
                     VersionTold version)
{
    const auto file = imageFileOf(image);
    const auto examined = examine(file);
    if (!examined || examined->kind != imageKind::cpld)
    {
        throw sdbus::Error("xyz.openbmc_project.cpld_update_mgr.NoImage",
                           file + " is no CPLD image");
    }
    Dictionary properties(message);
    properties.add("deviceId", std::uint32_t{examined->board});
    properties.add("fileName", file);
    switch (version)
    {
        case VersionTold::normal:
            properties.add("versionString", examined->version);
            break;
        case VersionTold::empty:
            properties.add("versionString", std::string());
            break;
        case VersionTold::wrongType:
            properties.add("versionString", std::uint32_t{1});
            break;
        case VersionTold::missing:
            break;
    }
}

} // namespace bmcsim
