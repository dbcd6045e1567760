// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** The name of the D-Bus error that a line of the library's log, or the text
 *  of an exception, tells of; empty where it tells of none.
 */
std::string dbusErrorIn(const std::string& line);

/** What to do about a D-Bus error.
 *
 *  @param otherwise  about an error of the service's own
 */
std::string
hintFor(const std::string& dbusError,
        const std::string& otherwise = "look at what the service itself "
                                       "logged");
