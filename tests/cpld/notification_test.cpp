// SPDX-License-Identifier: Apache-2.0
#include "../support/library_test.hpp"

// What the daemon subscribes with, and what it calls then.

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

using Notification = LibraryTest;

TEST_F(Notification, IsSubscribedToByARuleThatCanBeExtended)
{
    for (auto times = 0; times < 2; ++times)
    {
        EXPECT_EQ(manager.getCpldNotifiedRulesPattern(),
                  "type='signal',path='/xyz/openbmc_project/cpld_update_mgr',");
    }
    EXPECT_THAT(events(), IsEmpty());
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(Notification, IsLoggedAndNotLookedAt)
{
    for (const auto* text : {"", "{}", "bound MB_CPLD", "\xff"})
    {
        EXPECT_EQ(manager.onCPLDNotifiedSignal(text), 0);
        EXPECT_THAT(events(),
                    ElementsAre(out("int wexa::core::FWManagerInternal::"
                                    "onCPLDNotifiedSignal(std::string)")));
    }
    EXPECT_THAT(sent(), IsEmpty());
}

} // namespace
