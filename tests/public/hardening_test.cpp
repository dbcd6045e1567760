// SPDX-License-Identifier: Apache-2.0
#include "../support/process.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// What makes it harder to use a fault, read from every binary that is
// installed on a board.

using namespace test;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace
{

class Binary : public testing::TestWithParam<std::string>
{
  protected:
    static std::string told(std::vector<std::string> command)
    {
        command.push_back(fromEnvironment(GetParam()));
        const auto done = run(command);
        EXPECT_EQ(done.status, 0) << done.err;
        return done.out;
    }
};

INSTANTIATE_TEST_SUITE_P(Installed, Binary,
                         testing::Values("WEXA_LIBRARY", "WEXA_FWMGR",
                                         "WEXA_FWMGR_OPERATIONS"),
                         [](const auto& row) { return row.param; });

TEST_P(Binary, IsBoundWhenItIsLoadedAndReadOnlyFromThen)
{
    EXPECT_THAT(told({"readelf", "--dynamic", "--wide"}),
                ContainsRegex("\\(FLAGS\\) +BIND_NOW"));
    EXPECT_THAT(told({"readelf", "--segments", "--wide"}),
                HasSubstr("GNU_RELRO"));
}

TEST_P(Binary, HasNoExecutableStackAndNoRelocatedCode)
{
    EXPECT_THAT(told({"readelf", "--segments", "--wide"}),
                ContainsRegex("GNU_STACK +[0-9a-fx ]+RW "));
    EXPECT_THAT(told({"readelf", "--dynamic"}), Not(HasSubstr("TEXTREL")));
}

TEST_P(Binary, GuardsItsStack)
{
    EXPECT_THAT(told({"nm", "--dynamic", "--undefined-only"}),
                HasSubstr("__stack_chk_fail"));
}

} // namespace
