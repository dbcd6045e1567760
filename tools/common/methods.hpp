// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** The D-Bus signatures of the arguments and of the reply. */
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
