// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "flash_unit.hpp"

#include <cstdint>
#include <string>
#include <vector>

/** How long the file is to which the template sends the program's output; 0
 *  where it sends it elsewhere.
 */
std::uintmax_t logSizeOf(const UnitState& state);

/** The last lines that the flash program logged in its last run: from the
 *  journal, or from the file to which the template sends its output. Empty
 *  where it logged nothing, or elsewhere.
 *
 *  @param sizeBefore  of that file, before the run
 */
std::vector<std::string> lastLogLines(const UnitState& state,
                                      std::uintmax_t sizeBefore);
