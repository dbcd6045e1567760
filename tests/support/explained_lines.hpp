// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "matches.hpp"

#include <set>
#include <string>

namespace test
{

/** The log lines that docs/log-lines.md explains under a heading, with "..."
 *  for what is filled in.
 */
inline std::set<std::string> explainedLines(const std::string& document,
                                            const std::string& heading)
{
    const auto start = document.find("## " + heading);
    const auto section =
        document.substr(start, document.find("\n## ", start) - start);
    std::set<std::string> lines;
    for (const auto& cell : matchesIn(section, "^\\| (.*?) \\|"))
    {
        lines.merge(matchesIn(cell, "`([^`]+)`"));
    }
    return lines;
}

} // namespace test
