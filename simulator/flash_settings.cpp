// SPDX-License-Identifier: Apache-2.0
#include "flash_settings.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace bmcsim
{

static std::filesystem::path fileIn(const PrivateDirectory& directory)
{
    return directory.path() / "flash.settings";
}

FlashSettings FlashSettings::read(const PrivateDirectory& directory)
{
    FlashSettings settings;
    std::int64_t time = 0;
    std::int64_t timeout = 0;
    std::ifstream file(fileIn(directory));
    if (!(file >> settings.behaviour >> time >> timeout))
    {
        throw std::runtime_error("cannot read " + fileIn(directory).string());
    }
    settings.time = std::chrono::milliseconds(time);
    settings.timeout = std::chrono::milliseconds(timeout);
    return settings;
}

void FlashSettings::write(const PrivateDirectory& directory) const
{
    // A flash that starts meanwhile must find the file whole.
    const auto unfinished = directory.path() / "flash.settings.new";
    std::ofstream(unfinished) << behaviour << '\n'
                              << time.count() << '\n'
                              << timeout.count() << '\n';
    std::filesystem::rename(unfinished, fileIn(directory));
}

void FlashSettings::setBehaviour(const std::string& name)
{
    constexpr std::array<std::string_view, 5> known{"normal", "fail", "corrupt",
                                                    "crash", "hang"};
    if (std::ranges::find(known, name) == known.end())
    {
        throw std::invalid_argument("no flash behaviour '" + name +
                                    "'; there are normal, fail, corrupt, "
                                    "crash and hang");
    }
    behaviour = name;
}

std::chrono::milliseconds millisecondsFrom(const std::string& text)
{
    constexpr int hour = 3600000;
    int value = 0;
    const auto* const last = text.data() + text.size();
    const auto [read, error] = std::from_chars(text.data(), last, value);
    if (error != std::errc() || read != last || value < 1 || value > hour)
    {
        throw std::invalid_argument("'" + text +
                                    "' is no number of milliseconds from 1 "
                                    "to 3600000");
    }
    return std::chrono::milliseconds(value);
}

} // namespace bmcsim
