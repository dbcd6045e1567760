// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <thread>

namespace bmcsim
{

/** How long anything of the simulated BMC may take to come up. */
constexpr std::chrono::seconds startPatience{10};

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
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

} // namespace bmcsim
