// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** The name of the D-Bus error that a line of the library's log, or the text
 *  of an exception, tells of; empty where it tells of none.
 */
std::string dbusErrorIn(const std::string& line);

/** What to do about a D-Bus error.
 *
 *  @param ofItsOwn  about an error that the service itself has named; empty
 *                   where nothing more is known than of any other
 */
std::string hintFor(const std::string& dbusError,
                    const std::string& ofItsOwn = "");
