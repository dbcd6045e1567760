// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <regex>
#include <set>
#include <string>

namespace test
{

/** What the first group of a regular expression finds in a text; "^" and "$"
 *  are those of lines.
 */
inline std::set<std::string> matchesIn(const std::string& text,
                                       const std::string& pattern)
{
    std::set<std::string> found;
    const std::regex expression(pattern, std::regex::multiline);
    for (std::sregex_iterator match(text.begin(), text.end(), expression), end;
         match != end; ++match)
    {
        found.insert((*match)[1]);
    }
    return found;
}

} // namespace test
