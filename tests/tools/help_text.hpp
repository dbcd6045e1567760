// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/matches.hpp"
#include "../support/process.hpp"

#include <set>
#include <string>
#include <vector>

/** What the tool's own help tells of. */
namespace test::help
{

using Words = std::set<std::string>;

inline std::string text(const std::vector<std::string>& verb)
{
    std::vector<std::string> command{fromEnvironment("WEXA_FWMGR")};
    command.insert(command.end(), verb.begin(), verb.end());
    command.emplace_back("--help");
    return run(command).out;
}

inline Words verbs()
{
    const auto all = text({});
    return matchesIn(all.substr(all.find("Subcommands:")), "^  ([a-z]+) ");
}

/** Those at the beginning of a line, where they are explained. */
inline Words optionsOf(const std::vector<std::string>& verb)
{
    return matchesIn(text(verb), "^  (?:-h,)?(--[a-z-]+)");
}

} // namespace test::help
