// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "matches.hpp"
#include "process.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace test
{

/** The words as bash hands them to a completion: "=" and ":" end a word, and
 * are words themselves.
 */
inline std::vector<std::string> pieces(const std::vector<std::string>& words)
{
    std::vector<std::string> parts;
    for (const auto& word : words)
    {
        parts.emplace_back();
        for (const auto letter : word)
        {
            const auto breaks = letter == '=' || letter == ':';
            if (breaks && !parts.back().empty())
            {
                parts.emplace_back();
            }
            parts.back() += letter;
            if (breaks)
            {
                parts.emplace_back();
            }
        }
        // Nothing stands behind a break.
        if (parts.back().empty() && !word.empty())
        {
            parts.pop_back();
        }
    }
    return parts;
}

/** What bash offers for the last of the words after a program's name.
 *
 *  @param script       the completion, in the sources
 *  @param program      its path
 *  @param environment  variables to set, as NAME=VALUE
 */
inline std::set<std::string>
completionsOf(const std::string& script, const std::filesystem::path& program,
              const std::vector<std::string>& words,
              const std::vector<std::string>& environment = {})
{
    auto function = "_" + program.filename().string();
    std::ranges::replace(function, '-', '_');
    const auto commands = "source '" + fromEnvironment("WEXA_SOURCES") + "/" +
                          script + "'\nPATH='" +
                          program.parent_path().string() +
                          "':$PATH\n"
                          "COMP_LINE=$1; shift\n"
                          "COMP_WORDS=(\"$0\" \"$@\")\n"
                          "COMP_CWORD=$#\n" +
                          function +
                          "\n"
                          "printf '%q\\n' \"${COMPREPLY[@]}\"\n";
    std::vector<std::string> command{"bash", "-c", commands,
                                     program.filename()};
    auto line = program.filename().string();
    for (const auto& word : words)
    {
        line += ' ' + word;
    }
    command.push_back(line);
    std::ranges::copy(pieces(words), std::back_inserter(command));
    const auto done = run(command, environment);
    EXPECT_EQ(done.err, "");
    auto offered = matchesIn(done.out, "^(.+)$");
    offered.erase("''");
    return offered;
}

} // namespace test
