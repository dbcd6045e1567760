// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "container.hpp"

#include <string>
#include <vector>

namespace bmcsim
{

/** Runs a command inside a simulated BMC, which lives as long as it.
 *
 *  @return the command's exit status; 128 and the signal's number where one
 *          killed it; 126 or 127 where it cannot be executed;
 *          `exitStatus::noBoard` where there is no BMC to run it in
 */
int runCommand(const Setup& setup, const std::vector<std::string>& command);

} // namespace bmcsim
