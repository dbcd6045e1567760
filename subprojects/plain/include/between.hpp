// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include <cstdint>
#include <string>

/** A check of a command line's option: a whole number within these bounds. Its
 *  text is the same with every release of CLI11. */
inline CLI::Validator between(std::uint64_t least, std::uint64_t most)
{
    return {[=](const std::string& text) {
                std::uint64_t value{};
                if (CLI::detail::lexical_cast(text, value) && value >= least &&
                    value <= most)
                {
                    return std::string();
                }
                return std::string("Value ")
                    .append(text)
                    .append(" not in range ")
                    .append(std::to_string(least))
                    .append(" to ")
                    .append(std::to_string(most));
            },
            ""};
}
