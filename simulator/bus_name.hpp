// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbus-c++/sdbus-c++.h>

#include <string>

namespace bmcsim
{

/** Gives a connection a name on its bus.
 *
 *  @throw std::runtime_error  another connection has it
 */
void takeName(sdbus::IConnection& connection, const std::string& name);

[[noreturn]] void failAsTaken(const std::string& name);

} // namespace bmcsim
