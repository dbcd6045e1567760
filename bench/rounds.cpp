// SPDX-License-Identifier: Apache-2.0
#include "rounds.hpp"

#include <algorithm>
#include <chrono>
#include <numeric>
#include <random>

namespace bench
{

using Values = std::vector<double>;

double quantile(Values values, double share)
{
    const auto place =
        values.begin() +
        static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size()));
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

static double microsecondsOf(const Side& side)
{
    using std::chrono::steady_clock;
    const auto start = steady_clock::now();
    side.act();
    const auto took = steady_clock::now() - start;
    side.undo();
    return std::chrono::duration<double, std::micro>(took).count();
}

/** The durations of each side in one round. */
static std::vector<Values> takeRound(const std::vector<Side>& sides, int turns,
                                     std::mt19937& random)
{
    std::vector<Values> took(sides.size());
    std::vector<std::size_t> order(sides.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    for (auto turn = 0; turn < turns; ++turn)
    {
        std::shuffle(order.begin(), order.end(), random);
        for (const auto side : order)
        {
            if (turn % sides[side].every == 0)
            {
                took[side].push_back(microsecondsOf(sides[side]));
            }
        }
    }
    return took;
}

/** What the rounds yield for one side. */
struct Collected
{
    Values medians;
    Values ratios;
    Values ratiosOf99th;

    void add(const Values& took, const Values& first)
    {
        constexpr std::size_t enough = 100;
        medians.push_back(median(took));
        ratios.push_back(medians.back() / median(first));
        if (took.size() >= enough)
        {
            ratiosOf99th.push_back(quantile(took, 0.99) /
                                   quantile(first, 0.99));
        }
    }

    Duration duration() const
    {
        return {median(medians), median(ratios),
                ratiosOf99th.empty() ? std::nullopt
                                     : std::optional(median(ratiosOf99th))};
    }
};

std::vector<Duration> takeTurns(const std::vector<Side>& sides,
                                const Rounds& rounds)
{
    std::mt19937 random; // NOLINT: the same orders in every run
    std::vector<Collected> collected(sides.size());
    for (auto round = 0; round < rounds.count; ++round)
    {
        const auto took = takeRound(sides, rounds.turns, random);
        for (std::size_t side = 0; side < sides.size(); ++side)
        {
            collected[side].add(took[side], took.front());
        }
    }

    std::vector<Duration> durations;
    for (const auto& side : collected)
    {
        durations.push_back(side.duration());
    }
    return durations;
}

} // namespace bench
