// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "fwmgr_help.hpp"

#include <gtest/gtest.h>

// The manual page explains the verbs and the options that the tool itself tells
// of, and no others.

using namespace test;

namespace
{

std::string source(const std::string& file)
{
    return bytesOf(fromEnvironment("WEXA_SOURCES") + "/tools/" + file);
}

TEST(Manual, ExplainsEveryVerbAndNoOther)
{
    const auto page = source("wexa-fwmgr.1");
    EXPECT_EQ(matchesIn(page, "^\\.It Cm ([a-z]+)$"), fwmgrHelp().verbs());
    // In the synopsis as well.
    EXPECT_EQ(matchesIn(page, "^\\.Nm\n\\.Cm ([a-z]+)"), fwmgrHelp().verbs());
}

TEST(Manual, ExplainsEveryOptionAndNoOther)
{
    Help::Words explained;
    for (const auto& option :
         matchesIn(source("wexa-fwmgr.1"), "^\\.It Fl (-[a-z-]+)"))
    {
        explained.insert("-" + option);
    }
    EXPECT_EQ(explained, fwmgrHelp().allOptions());
}

TEST(Manual, ExplainsEveryExitStatusOfReadme)
{
    const auto readme = bytesOf(fromEnvironment("WEXA_SOURCES") + "/README.md");
    const auto table = readme.substr(readme.find("| exit status |"));
    EXPECT_EQ(matchesIn(source("wexa-fwmgr.1"), "^\\.It ([0-9, ]+)$"),
              matchesIn(table.substr(0, table.find("\n\n")), "^\\| ([0-9, ]+) "
                                                             "\\|"));
}

} // namespace
