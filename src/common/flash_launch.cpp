// SPDX-License-Identifier: Apache-2.0
#include "flash_launch.hpp"

#include "log.hpp"
#include "remote_call.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>

namespace wexa::core
{

sdbusplus::message_t newStartUnitCall(sdbusplus::bus_t& bus)
{
    return newCall(bus,
                   {"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                    "org.freedesktop.systemd1.Manager", "StartUnit"});
}

std::string flashUnitName(std::string_view unitTemplate,
                          std::initializer_list<std::string_view> words,
                          std::string imagePath)
{
    // systemd limits unit names to 255 bytes; reserve that much once.
    constexpr std::size_t longest = 255;
    std::string name;
    name.reserve(longest);
    name.append(unitTemplate);
    for (const auto word : words)
    {
        name.append(word).append(R"(\x20)");
    }
    std::ranges::replace(imagePath, '/', '-');
    return name.append(imagePath).append(".service");
}

int startUnit(sdbusplus::bus_t& bus, sdbusplus::message_t& call,
              const std::string& unit, const char* device)
{
    call.append(unit, "replace");

    try
    {
        bus.call(call);
        return 0;
    }
    catch (const RemoteError& failure)
    {
        log::error("Error in trying to upgrade {}: {}\n", device,
                   failure.what());
        return -EIO;
    }
}

} // namespace wexa::core
