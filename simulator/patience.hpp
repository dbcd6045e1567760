// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>
#include <limits>
#include <optional>
#include <thread>

namespace bmcsim
{

/** How long anything of the simulated BMC may take to come up. */
constexpr std::chrono::seconds startPatience{10};

/** The time-out for poll: until `deadline`, or as near as poll can wait;
 *  unlimited if it is not set.
 */
inline int
millisecondsUntil(std::optional<std::chrono::steady_clock::time_point> deadline)
{
    using std::chrono::ceil, std::chrono::milliseconds;
    if (!deadline)
    {
        return -1;
    }
    const auto left =
        ceil<milliseconds>(*deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp<milliseconds::rep>(
        left.count(), 0, std::numeric_limits<int>::max()));
}

/** Waits until `condition` holds; false if it does not in time. */
template <typename Condition>
bool within(std::chrono::milliseconds time, Condition&& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + time;
    while (!condition())
    {
        if (std::chrono::steady_clock::now() >= deadline)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace bmcsim
