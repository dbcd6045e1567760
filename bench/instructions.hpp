// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <string>

namespace bench
{

/** Instructions by the names under which `countInstructions` counted them. */
using Instructions = std::map<std::string, double>;

/** Lets callgrind, under which the process runs, count an action: those of
 *  this process, outside of the kernel, for one of `runs` actions.
 */
void countInstructions(const std::string& name, int runs,
                       const std::function<void()>& act);

/** Runs this program under callgrind, with an option that makes it count.
 *
 *  @throw std::runtime_error  it failed
 */
Instructions instructionsOf(const std::string& option);

} // namespace bench
