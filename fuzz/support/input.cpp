// SPDX-License-Identifier: Apache-2.0
#include "input.hpp"

#include <algorithm>
#include <array>

namespace fuzz
{

using namespace std::string_view_literals;

static constexpr std::array words{
    ""sv,
    "MB_CPLD"sv,
    "FAN"sv,
    "versionString"sv,
    "done"sv,
    "failed"sv,
    "/xyz/openbmc_project/cpld/mb"sv,
    "/a"sv,
    "/"sv,
    "no/path"sv,
    "/run/images/bmc"sv,
    "/run/images-1/bmc.bin"sv,
    "any.service"sv,
    "OnReset"sv,
    "xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes.OnReset"sv,
    "xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes.Immediate"sv,
    "xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes."
    "OnStartUpdateRequest"sv,
    "xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes."sv,
    "\xc3\xbc"sv,
    "\xf0\x9f\x98\x80%s{}\\x20\n"sv,
};

std::string Input::text()
{
    constexpr std::array beyondAscii{"\xc3\xbc"sv, "\xe2\x82\xac"sv,
                                     "\xf0\x9f\x98\x80"sv};
    const auto choice = below(words.size() + 8);
    if (choice < words.size())
    {
        return std::string(words[choice]);
    }
    std::string text;
    for (const unsigned char byte : take(choice - words.size()))
    {
        if (byte >= 0x80)
        {
            text += beyondAscii[byte % beyondAscii.size()];
        }
        else
        {
            text += static_cast<char>(std::max<unsigned char>(byte, 1));
        }
    }
    return text;
}

std::string Input::anyText()
{
    return flag() ? text() : anyBytes(31);
}

std::string Input::objectPath()
{
    static constexpr std::array paths{
        "/"sv, "/a"sv, "/org/freedesktop/systemd1/job/7"sv,
        "/xyz/openbmc_project/cpld/mb"sv, "/_/0/A_9"sv};
    return std::string(pick(paths));
}

} // namespace fuzz
