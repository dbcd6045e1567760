// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdlib>

// Tests that end in every way; tally_test.cpp runs them.

TEST(Sample, Passes) {}

TEST(Sample, Fails)
{
    FAIL() << "as it must";
}

TEST(Sample, IsSkipped)
{
    GTEST_SKIP() << "no systemd here";
}

TEST(Sample, EndsTheProgram)
{
    std::_Exit(1);
}
