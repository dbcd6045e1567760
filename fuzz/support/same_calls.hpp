// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../../tests/support/scripted_core_library.hpp"
#include "target.hpp"

#include <utility>
#include <vector>

namespace fuzz
{

/** The reference, then the library, have called the core library's routines
 *  with the same arguments in the same order; forgets these calls.
 */
inline void requireSameCalls(test::ScriptedCoreLibrary& core)
{
    const auto calls = std::exchange(core.calls, {});
    std::string halves[2];
    for (std::size_t number = 0; number < calls.size(); ++number)
    {
        halves[number < calls.size() / 2 ? 0 : 1] += calls[number] + '\n';
    }
    requireSame("the calls of the core library", halves[0], halves[1]);
}

} // namespace fuzz
