// SPDX-License-Identifier: Apache-2.0
#include "../support/library_test.hpp"

// What the daemon says of a finished update is logged, except for CPLDs.

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class UpdateSuccess : public LibraryTest
{};

TEST_F(UpdateSuccess, IsLoggedForTheBmc)
{
    manager.onBMCUpdateSuccess();

    EXPECT_THAT(events(), ElementsAre(out("void wexa::core::FWManagerInternal::"
                                          "onBMCUpdateSuccess()")));
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(UpdateSuccess, IsLoggedForTheBios)
{
    manager.onBIOSUpdateSuccess();

    EXPECT_THAT(events(), ElementsAre(out("void wexa::core::FWManagerInternal::"
                                          "onBIOSUpdateSuccess()")));
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(UpdateSuccess, IsNotLoggedForACpld)
{
    manager.onCPLDUpdateSuccess();

    EXPECT_THAT(events(), IsEmpty());
    EXPECT_THAT(sent(), IsEmpty());
}

} // namespace
