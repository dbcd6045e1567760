// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** The name of the D-Bus error that a line of the library's log, or the text
 *  of an exception, tells of; empty where it tells of none.
 */
std::string dbusErrorIn(const std::string& line);

/** What to do about a D-Bus error. */
std::string hintFor(const std::string& dbusError);
