// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace plain
{

/** The instance in a unit's name without its escapes, as %I in a unit file: "-"
 *  becomes "/", "\x20" a blank.
 */
std::string unescaped(std::string_view instance);

} // namespace plain
