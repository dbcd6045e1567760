// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <chrono>

namespace bmcsim
{

/** Makes the calling process the parent of what its descendants leave behind,
 *  such as a program that put itself into the background.
 *
 *  @throw std::system_error  the kernel does not allow it
 */
void adoptOrphans();

/** Ends and reaps all descendants of the calling process, which adopts
 *  orphans: each gets a SIGTERM, and after `grace` a SIGKILL. It waits no
 *  longer than 10 s for those that are killed.
 *
 *  @param kept  a child that is to live, with its own descendants; -1: none
 */
void endDescendants(pid_t kept, std::chrono::milliseconds grace);

/** Has the kernel send `number` to the calling process when its parent ends.
 *
 *  @param parent  the process identifier that the parent has, asked for
 *         before the fork
 *  @return false where the parent has ended already
 */
bool signalAtEndOf(pid_t parent, int number);

} // namespace bmcsim
