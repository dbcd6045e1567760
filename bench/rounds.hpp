// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace bench
{

/** One of several ways to do the same. */
struct Side
{
    std::string name;
    std::function<void()> act;
};

/** Times all sides in turns, so that whatever else the machine does meets all
 *  of them. Reports, of each, the median in microseconds ("NAME_us") and, of
 *  all but the first, that median by the first one's ("NAME_ratio").
 *
 *  @return the first side's median
 */
double takeTurns(benchmark::State& state, const std::vector<Side>& sides);

} // namespace bench
