// SPDX-License-Identifier: Apache-2.0
#include "../support/explained_lines.hpp"
#include "../support/matches.hpp"
#include "document.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>

// docs/log-lines.md explains every error that the library logs, and no other.

using namespace test;

namespace
{

/** The texts of the calls of a function of the log, with "..." for what is
 *  filled in.
 */
std::set<std::string> logged(const std::string& function)
{
    std::set<std::string> texts;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(sources() / "src"))
    {
        if (entry.path().extension() != ".cpp")
        {
            continue;
        }
        // Literals of one text may stand on several lines.
        for (auto text :
             matchesIn(bytesOf(entry.path()),
                       "log::" + function +
                           "\\(\\s*\"((?:[^\"]|\"\\s*\")*)\"\\s*[,)]"))
        {
            text = std::regex_replace(text, std::regex("\"\\s*\""), "");
            text = std::regex_replace(text, std::regex("\\\\n"), "");
            texts.insert(std::regex_replace(text, std::regex("\\{\\}"), "..."));
        }
    }
    return texts;
}

/** As the document shortens it: after "(" the rest goes without saying. */
std::string shortened(const std::string& text)
{
    const auto parenthesis = text.find('(');
    return parenthesis == std::string::npos
               ? text
               : text.substr(0, parenthesis + 1) + "...";
}

std::set<std::string> explained(const std::string& heading)
{
    return explainedLines(textOf("docs/log-lines.md"), heading);
}

TEST(LogLines, ThatAreErrorsAreAllExplainedAndNoOthers)
{
    auto errors = logged("error");
    errors.merge(logged("errorUnflushed"));
    std::set<std::string> expected;
    for (const auto& error : errors)
    {
        expected.insert(shortened(error));
    }
    EXPECT_GT(expected.size(), 20);
    EXPECT_EQ(explained("Errors"), expected);
}

TEST(LogLines, OfProgressAreAllExplained)
{
    const auto lines = explained("Progress");
    for (const auto& text : logged("progress"))
    {
        // Signatures and bare values are explained as what they are.
        if (text.find("wexa::core::") == std::string::npos && text != "...")
        {
            EXPECT_THAT(lines, testing::Contains(text));
        }
    }
}

} // namespace
