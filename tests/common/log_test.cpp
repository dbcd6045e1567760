// SPDX-License-Identifier: Apache-2.0
#include "../support/library_test.hpp"

#include <iostream>

// The log's bytes do not depend on how the daemon left its streams.

using namespace test;
using testing::ElementsAre;

namespace
{

class Log : public LibraryTest
{};

TEST_F(Log, KeepsItsTextsWhateverWidthAndFillTheStreamsHave)
{
    std::cout.width(200);
    std::cout.fill('*');

    manager.onBMCUpdateSuccess();

    EXPECT_THAT(events(), ElementsAre(out("void wexa::core::FWManagerInternal::"
                                          "onBMCUpdateSuccess()")));
    std::cout.width(0);
    std::cout.fill(' ');
}

} // namespace
