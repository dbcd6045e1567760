// SPDX-License-Identifier: Apache-2.0
#include "../support/matches.hpp"
#include "document.hpp"

#include <gtest/gtest.h>

#include <regex>
#include <set>

// The picture that is checked in was drawn from its source.

using namespace test;

namespace
{

TEST(Picture, ShowsEveryLabelOfItsSourceAndNoOther)
{
    std::set<std::string> labels;
    for (const auto& label :
         matchesIn(textOf("docs/picture.dot"), "label=\"([^\"]*)\""))
    {
        // A label of several lines is several texts.
        const auto lines = std::regex_replace(label, std::regex("\\\\n"), "\n");
        for (const auto& line : linesOf(lines))
        {
            labels.insert(line);
        }
    }
    std::set<std::string> shown;
    for (const auto& text :
         matchesIn(textOf("docs/picture.svg"), "<text[^>]*>([^<]*)</text>"))
    {
        shown.insert(std::regex_replace(
            std::regex_replace(text, std::regex("&#39;"), "'"),
            std::regex("&#45;"), "-"));
    }
    EXPECT_EQ(shown, labels);
}

TEST(Picture, HasAsManyArrowsAsItsSource)
{
    const auto count = [](const std::string& text, const std::string& what) {
        const std::regex expression(what);
        return std::distance(
            std::sregex_iterator(text.begin(), text.end(), expression),
            std::sregex_iterator());
    };
    EXPECT_EQ(count(textOf("docs/picture.svg"), "class=\"edge\""),
              count(textOf("docs/picture.dot"), " -> "));
}

} // namespace
