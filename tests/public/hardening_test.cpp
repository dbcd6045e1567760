// SPDX-License-Identifier: Apache-2.0
#include "../support/process.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// What makes it harder to use a fault in the library, read from what was built.

using namespace test;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

namespace
{

std::string told(std::vector<std::string> command)
{
    command.push_back(fromEnvironment("WEXA_LIBRARY"));
    const auto done = run(command);
    EXPECT_EQ(done.status, 0) << done.err;
    return done.out;
}

TEST(Library, IsBoundWhenItIsLoadedAndReadOnlyFromThen)
{
    EXPECT_THAT(told({"readelf", "--dynamic", "--wide"}),
                ContainsRegex("\\(FLAGS\\) +BIND_NOW"));
    EXPECT_THAT(told({"readelf", "--segments", "--wide"}),
                HasSubstr("GNU_RELRO"));
}

TEST(Library, HasNoExecutableStackAndNoRelocatedCode)
{
    EXPECT_THAT(told({"readelf", "--segments", "--wide"}),
                ContainsRegex("GNU_STACK +[0-9a-fx ]+RW "));
    EXPECT_THAT(told({"readelf", "--dynamic"}), Not(HasSubstr("TEXTREL")));
}

TEST(Library, GuardsItsStack)
{
    EXPECT_THAT(told({"nm", "--dynamic", "--undefined-only"}),
                HasSubstr("__stack_chk_fail"));
}

} // namespace
