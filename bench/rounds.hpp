// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>
#include <vector>

namespace bench
{

/** One of several ways to do the same. */
struct Side
{
    std::function<void()> act;

    /** 1: it takes part in every turn; 3: in every third. */
    int every = 1;

    /** What it does afterwards, not timed. */
    std::function<void()> undo = [] {};
};

/** How often each side acts: `turns` in each of `count` rounds. */
struct Rounds
{
    int count;
    int turns;
};

/** What a side takes, beside the first side. */
struct Duration
{
    /** The median of all rounds' medians. */
    double microseconds;

    /** The median of all rounds' ratios of medians. */
    double ratio;

    /** The same of 99th percentiles; none where a round has no hundred. */
    std::optional<double> ratioOf99th;
};

/** Times all sides in turns, each turn in another order, so that other load on
 *  the machine, and what a side leaves in the caches, affects all sides.
 */
std::vector<Duration> takeTurns(const std::vector<Side>& sides,
                                const Rounds& rounds);

/** Of a copy: the value below which a share of them lies. */
double quantile(std::vector<double> values, double share);

inline double median(const std::vector<double>& values)
{
    return quantile(values, 0.5);
}

} // namespace bench
