// SPDX-License-Identifier: Apache-2.0
#include "unit_text.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace bmcsim::unitText
{

constexpr std::string_view folder = "/org/freedesktop/systemd1/unit/";

static bool isAlphanumeric(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
           (c >= 'A' && c <= 'Z');
}

bool isValidName(const std::string& name)
{
    constexpr std::size_t longest = 255;
    constexpr std::string_view others = ":-_.\\@";
    constexpr std::array<std::string_view, 11> kinds{
        ".service", ".socket", ".target", ".device", ".mount", ".automount",
        ".swap",    ".timer",  ".path",   ".slice",  ".scope"};
    return name.size() <= longest &&
           std::ranges::any_of(kinds,
                               [&](const auto& kind) {
                                   return name.ends_with(kind) &&
                                          name.size() > kind.size();
                               }) &&
           !name.starts_with('@') && std::ranges::all_of(name, [&](char c) {
               return isAlphanumeric(c) ||
                      others.find(c) != std::string_view::npos;
           });
}

std::string objectPath(const std::string& name)
{
    constexpr auto digits = "0123456789abcdef";
    std::string path(folder);
    for (const auto c : name)
    {
        if (isAlphanumeric(c))
        {
            path += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        path += '_';
        path += digits[byte >> 4];
        path += digits[byte & 15];
    }
    return path;
}

std::string nameOf(const std::string& objectPath)
{
    if (!objectPath.starts_with(folder))
    {
        return {};
    }
    std::string name;
    for (auto i = folder.size(); i < objectPath.size(); ++i)
    {
        unsigned char code = 0;
        const auto* const hex = objectPath.data() + i + 1;
        if (objectPath[i] == '_' && i + 2 < objectPath.size() &&
            std::from_chars(hex, hex + 2, code, 16).ptr == hex + 2)
        {
            name += static_cast<char>(code);
            i += 2;
        }
        else
        {
            name += objectPath[i];
        }
    }
    return name;
}

} // namespace bmcsim::unitText
