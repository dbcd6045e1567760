// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_directory.hpp"

namespace bmcsim::controlGroup
{

/** Moves the calling process into a control group of the simulated BMC's own
 *  and makes that group all that it sees of the hierarchy: what systemd makes
 *  in there can be removed afterwards, whole.
 *
 *  The process gets a private mount namespace, and so a root of its own, on
 *  the way.
 *
 *  @throw std::system_error  the kernel does not allow it
 */
void enter(const PrivateDirectory& directory);

/** Kills what runs in that group and removes it with all groups in it. */
void remove(const PrivateDirectory& directory) noexcept;

/** The same where the simulated BMC was killed before it could. */
void removeIfLeft(const PrivateDirectory& directory) noexcept;

} // namespace bmcsim::controlGroup
