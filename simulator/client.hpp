// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace bmcsim
{

/** Changes a running simulated BMC; the exit status.
 *
 *  @param directory  its private directory; where that is empty the one that
 *                    this program runs in, or the only one that runs
 */
int setBehaviour(const std::string& directory, const std::string& what,
                 const std::string& value);

/** Prints the state of a running simulated BMC; the exit status. */
int printState(const std::string& directory, bool json);

/** Prints all scenarios; returns the exit status. */
int listScenarios();

} // namespace bmcsim
