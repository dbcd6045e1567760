// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "matches.hpp"
#include "process.hpp"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace test
{

/** What a program's own help tells of. */
class Help
{
  public:
    using Words = std::set<std::string>;

    /** @param program  its path */
    explicit Help(std::string program) : program(std::move(program)) {}

    Words verbs() const
    {
        const auto all = text({});
        return matchesIn(all.substr(all.find("Subcommands:")), "^  ([a-z]+) ");
    }

    /** Those at the beginning of a line, where they are explained. */
    Words optionsOf(const std::vector<std::string>& verb) const
    {
        return matchesIn(text(verb), "^  (?:-h,)?(--[a-z-]+)");
    }

    /** Those of the program itself and of each verb. */
    Words allOptions() const
    {
        auto all = optionsOf({});
        for (const auto& verb : verbs())
        {
            all.merge(optionsOf({verb}));
        }
        return all;
    }

  private:
    std::string text(const std::vector<std::string>& verb) const
    {
        std::vector<std::string> command{program};
        command.insert(command.end(), verb.begin(), verb.end());
        command.emplace_back("--help");
        return run(command).out;
    }

    std::string program;
};

} // namespace test
