// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "matches.hpp"
#include "process.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace test
{

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
                          "COMP_WORDS=(\"$0\" \"$@\")\n"
                          "COMP_CWORD=$#\n" +
                          function +
                          "\n"
                          "printf '%q\\n' \"${COMPREPLY[@]}\"\n";
    std::vector<std::string> command{"bash", "-c", commands,
                                     program.filename()};
    command.insert(command.end(), words.begin(), words.end());
    const auto done = run(command, environment);
    EXPECT_EQ(done.err, "");
    auto offered = matchesIn(done.out, "^(.+)$");
    offered.erase("''");
    return offered;
}

} // namespace test
