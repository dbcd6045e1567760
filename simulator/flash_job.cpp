// SPDX-License-Identifier: Apache-2.0
#include "flash_job.hpp"

#include <stdexcept>

namespace bmcsim
{

/** Takes what stands before the first blank out of `text`, and the blank. */
static std::string takeWord(std::string& text)
{
    const auto blank = text.find(' ');
    if (blank == std::string::npos)
    {
        throw std::invalid_argument("the instance ends too early");
    }
    auto word = text.substr(0, blank);
    text.erase(0, blank + 1);
    return word;
}

static std::string partitionOf(const std::string& device, std::string& rest)
{
    if (device == "bmc_rot2")
    {
        return "bmc";
    }
    if (device == "bios_rot2")
    {
        return "bios";
    }
    if (device == "cpld_rot2")
    {
        auto component = takeWord(rest);
        if (component.empty() || component.find('/') != std::string::npos)
        {
            throw std::invalid_argument("'" + component +
                                        "' is no component name");
        }
        return "cpld-" + component;
    }
    throw std::invalid_argument("unknown device '" + device + "'");
}

FlashJob FlashJob::from(const std::string& instance)
{
    auto rest = instance;
    const auto device = takeWord(rest);
    const auto action = takeWord(rest);
    if (action != "update")
    {
        throw std::invalid_argument("unknown action '" + action + "'");
    }
    auto partition = partitionOf(device, rest);
    if (!rest.starts_with('/'))
    {
        throw std::invalid_argument("'" + rest + "' is no absolute path");
    }
    return {std::move(partition), rest};
}

} // namespace bmcsim
