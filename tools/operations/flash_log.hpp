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

/** What a flash program logged last. */
struct FlashLog
{
    /** Line by line; empty where it logged nothing. */
    std::vector<std::string> lines;
    /** Why the lines are not known; empty where they are. */
    std::string unknown;
};

/** What the flash program logged in its last run: from the journal, or from
 *  the file to which the template sends its output.
 *
 *  @param sizeBefore  of that file, before the run
 */
FlashLog logOf(const UnitState& state, std::uintmax_t sizeBefore);
