// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/process.hpp"

#include <string>
#include <vector>

namespace test
{

/** Runs the program wexa-bmcsim to its end. */
inline Completed runBmcsim(std::vector<std::string> arguments,
                           const std::vector<std::string>& environment = {})
{
    arguments.insert(arguments.begin(), fromEnvironment("WEXA_BMCSIM"));
    return run(arguments, environment);
}

} // namespace test
