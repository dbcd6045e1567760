// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** D-Bus signatures of what goes in and what comes out. */
struct MethodTypes
{
    std::string in;
    std::string out;
};

/** The types of a method that the library calls, as it expects them.
 *
 *  @return null for another method
 */
const MethodTypes* expectedTypesOf(const std::string& method);
