// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>

namespace bench
{

/** How many blocks of memory an action allocates: the median of some runs,
 *  because sd-bus takes what it keeps in pools, now and then.
 */
std::size_t allocationsOf(const std::function<void()>& act);

/** Those that the library's log lines cost an action, at most: what formatting
 *  each of the lines that it prints allocates.
 */
std::size_t allocationsOfLog(const std::function<void()>& act);

} // namespace bench
