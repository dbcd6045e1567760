// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "input.hpp"

#include <systemd/sd-bus.h>

#include <string>
#include <string_view>

/** Well-typed values of D-Bus, of any type and content. */
namespace fuzz
{

/** One complete type, such as "a{s(iv)}". */
std::string anyType(Input& input, int depth = 0);

/** Appends a value of each of the complete types; arrays of few elements, of
 *  dictionaries often with the same key.
 */
void appendValues(Input& input, sd_bus_message* message,
                  std::string_view types);

} // namespace fuzz
