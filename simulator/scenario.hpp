// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace bmcsim
{

/** What is wrong with a simulated BMC, under a name. */
struct Scenario
{
    std::string name;
    /** One sentence. */
    std::string description;
    /** As for `Board::set`, in order. */
    std::vector<std::pair<std::string, std::string>> settings;
};

/** Takes NAME=VALUE apart.
 *
 *  @throw std::invalid_argument  it is not of that form, or not UTF-8
 */
std::pair<std::string, std::string> assignment(const std::string& text);

/** All that come with the simulator, by name. */
std::vector<Scenario> scenarios();

/** @param name  of one of them, or the path of a file, with a "/" in it
 *  @throw std::invalid_argument  the scenario does not exist or cannot be read;
 *         names those that exist
 */
Scenario scenarioNamed(const std::string& name);

} // namespace bmcsim
