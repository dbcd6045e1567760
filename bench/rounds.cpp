// SPDX-License-Identifier: Apache-2.0
#include "rounds.hpp"

#include <algorithm>
#include <chrono>

namespace bench
{

using std::chrono::steady_clock;
using Durations = std::vector<steady_clock::duration>;

static double medianInMicroseconds(Durations& took)
{
    const auto middle =
        took.begin() + static_cast<std::ptrdiff_t>(took.size() / 2);
    std::nth_element(took.begin(), middle, took.end());
    return std::chrono::duration<double, std::micro>(*middle).count();
}

double takeTurns(benchmark::State& state, const std::vector<Side>& sides)
{
    std::vector<Durations> took(sides.size());
    for (const auto _ : state)
    {
        for (std::size_t i = 0; i < sides.size(); ++i)
        {
            const auto start = steady_clock::now();
            sides[i].act();
            took[i].push_back(steady_clock::now() - start);
        }
    }

    const auto first = medianInMicroseconds(took.front());
    state.counters[sides.front().name + "_us"] = first;
    for (std::size_t i = 1; i < sides.size(); ++i)
    {
        const auto median = medianInMicroseconds(took[i]);
        state.counters[sides[i].name + "_us"] = median;
        state.counters[sides[i].name + "_ratio"] = median / first;
    }
    return first;
}

} // namespace bench
