// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "builtin_engine.hpp"
#include "dbus/object.hpp"

// What clients see of the built-in manager: the members of systemd's
// interfaces that have to do with flashes.

namespace bmcsim::builtinInterfaces
{

/** @param answersNumber  whether StartUnit answers with a number instead of the
 *                        job's path
 */
dbus::Interface<BuiltinEngine> manager(bool answersNumber);

dbus::Interface<BuiltinUnit> unit();
dbus::Interface<BuiltinUnit> service();
dbus::Interface<BuiltinJob> job();

} // namespace bmcsim::builtinInterfaces
