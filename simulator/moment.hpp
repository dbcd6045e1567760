// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <ctime>

namespace bmcsim
{

/** When something happened, in microseconds: since 1970, and since the machine
 *  started. Zero before it has.
 */
struct Moment
{
    static Moment now()
    {
        return {microseconds(CLOCK_REALTIME), microseconds(CLOCK_MONOTONIC)};
    }

    std::uint64_t realtime = 0;
    std::uint64_t monotonic = 0;

  private:
    static std::uint64_t microseconds(clockid_t clock)
    {
        timespec time{};
        clock_gettime(clock, &time);
        return static_cast<std::uint64_t>(time.tv_sec) * 1000000 +
               static_cast<std::uint64_t>(time.tv_nsec) / 1000;
    }
};

} // namespace bmcsim
