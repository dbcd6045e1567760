// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/help_text.hpp"

#include <gtest/gtest.h>

// The manual pages explain what the programs themselves tell of, and nothing
// else.

using namespace test;

namespace
{

using Words = Help::Words;

std::string source(const std::string& file)
{
    return bytesOf(fromEnvironment("WEXA_SOURCES") + "/" + file);
}

/** The options that a page explains, as they are typed. */
Words optionsIn(const std::string& page)
{
    Words options;
    for (const auto& option : matchesIn(page, "^\\.It Fl (-[a-z-]+)"))
    {
        options.insert("-" + option);
    }
    return options;
}

TEST(ManualOfBmcsim, ExplainsEveryCommandAndOptionAndNoOther)
{
    const Help help(fromEnvironment("WEXA_BMCSIM"));
    const auto page = source("simulator/wexa-bmcsim.1");
    const auto description = page.substr(0, page.find(".Sh OPTIONS"));
    EXPECT_EQ(matchesIn(description, "^\\.It Cm ([a-z]+)$"), help.verbs());
    EXPECT_EQ(matchesIn(page, "^\\.Nm\n\\.Cm ([a-z]+)"), help.verbs());
    EXPECT_EQ(optionsIn(page), help.allOptions());
}

TEST(ManualOfBmcsim, ExplainsTheSettingsAndExitStatusesOfTheDocuments)
{
    const auto page = source("simulator/wexa-bmcsim.1");
    const auto document = source("docs/simulator.md");
    const auto begin = page.find(".Sh SETTINGS");
    const auto settings =
        page.substr(begin, page.find(".Sh ENVIRONMENT") - begin);
    Words explained;
    for (const auto& line : matchesIn(settings, "^\\.It Cm (.+)$"))
    {
        explained.merge(matchesIn(line, "([a-z-]+)"));
    }
    Words documented;
    const auto table = document.substr(document.find("| name | values |"));
    for (const auto& names :
         matchesIn(table.substr(0, table.find("\n\n")), "^\\| (`[^|]+) \\|"))
    {
        documented.merge(matchesIn(names, "`([a-z-]+)`"));
    }
    EXPECT_EQ(explained, documented);
    EXPECT_EQ(
        matchesIn(page.substr(page.find(".Sh EXIT STATUS")), "^\\.It ([0-9]+)"),
        matchesIn(document, "^\\| ([0-9]+) \\|"));
}

TEST(ManualOfMkimage, ExplainsEveryOptionAndNoOther)
{
    const auto page = source("subprojects/wexacore/wexa-mkimage.1");
    EXPECT_EQ(optionsIn(page),
              Help(fromEnvironment("WEXA_MKIMAGE")).optionsOf({}));
}

} // namespace
