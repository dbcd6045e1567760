// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace fuzz
{

/** Whether a text fits a pattern, in which "..." stands for any text. */
inline bool fits(std::string_view text, std::string_view pattern)
{
    constexpr std::string_view any = "...";
    const auto before = pattern.substr(0, pattern.find(any));
    if (before.size() == pattern.size())
    {
        return text == pattern;
    }
    if (!text.starts_with(before))
    {
        return false;
    }
    text.remove_prefix(before.size());
    pattern.remove_prefix(before.size() + any.size());
    while (!fits(text, pattern))
    {
        if (text.empty())
        {
            return false;
        }
        text.remove_prefix(1);
    }
    return true;
}

} // namespace fuzz
