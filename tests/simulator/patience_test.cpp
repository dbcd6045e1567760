// SPDX-License-Identifier: Apache-2.0
#include "../../simulator/patience.hpp"

#include <gtest/gtest.h>

// How long the simulated BMC waits.

using bmcsim::millisecondsUntil;
using std::chrono::steady_clock;

namespace
{

TEST(MillisecondsUntil, AreThoseThatPollCanWait)
{
    EXPECT_EQ(millisecondsUntil({}), -1);
    EXPECT_EQ(millisecondsUntil(steady_clock::now() - std::chrono::hours(1)),
              0);
    EXPECT_EQ(millisecondsUntil(steady_clock::now() + std::chrono::years(1)),
              std::numeric_limits<int>::max());
}

} // namespace
