// SPDX-License-Identifier: Apache-2.0
#include "flash_settings.hpp"

#include "child.hpp"
#include "choice.hpp"

#include <charconv>
#include <fstream>
#include <stdexcept>

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
    if (!(file >> settings.behaviour >> time >> timeout >> settings.unit))
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
    std::ofstream file(unfinished);
    file << behaviour << '\n'
         << time.count() << '\n'
         << timeout.count() << '\n'
         << unit << std::endl;
    if (!file)
    {
        fail("cannot write " + unfinished.string());
    }
    std::filesystem::rename(unfinished, fileIn(directory));
}

void FlashSettings::setBehaviour(const std::string& name)
{
    behaviour = chosenFrom({"normal", "fail", "corrupt", "crash", "hang"}, name,
                           "flash behaviour");
}

void FlashSettings::setUnit(const std::string& name)
{
    unit = chosenFrom(
        {"honest", "condition", "ignored-failure", "simple", "no-timeout"},
        name, "sort of flash unit");
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
