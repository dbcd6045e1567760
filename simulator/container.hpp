// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board.hpp"

namespace bmcsim
{

/** The first process of the simulated BMC: brings it up, serves it until the
 *  other end of `lifeline` is closed, and leaves nothing behind.
 *
 *  @param lifeline  held open by the process that wants the BMC; the kernel
 * closes it however that one ends
 *  @param report    receives "up", or why the BMC is not
 *  @return the exit status
 */
int runContainer(const PrivateDirectory& directory, const Setup& setup,
                 int lifeline, int report);

} // namespace bmcsim
