// SPDX-License-Identifier: Apache-2.0
#include "../support/library_test.hpp"

using namespace test;
using testing::IsEmpty;

namespace
{

class Construction : public LibraryTest
{};

TEST_F(Construction, SendsAndSaysNothingAndRemembersNoUnit)
{
    const wexa::core::FWManagerInternal another{connection};

    EXPECT_THAT(events(), IsEmpty());
    EXPECT_THAT(sent(), IsEmpty());
    EXPECT_EQ(rememberedUnit(), "");
}

} // namespace
