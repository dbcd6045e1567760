// SPDX-License-Identifier: Apache-2.0
#include "schema.hpp"

#include <gtest/gtest.h>

// Takes the place of schema.cpp where valijson is missing.

namespace test
{

static void skip()
{
    GTEST_SKIP() << "valijson is not installed";
}

std::string violationsIn(const std::string&)
{
    skip();
    return "";
}

} // namespace test
