// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** systemd's spellings of unit names. */
namespace bmcsim::unitText
{

/** Whether systemd takes this for a unit name. */
bool isValidName(const std::string& name);

/** The path of a unit's D-Bus object. */
std::string objectPath(const std::string& name);

/** The name of the unit that an object's path stands for; empty for none. */
std::string nameOf(const std::string& objectPath);

} // namespace bmcsim::unitText
