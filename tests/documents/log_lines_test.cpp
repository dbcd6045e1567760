// SPDX-License-Identifier: Apache-2.0
#include "../../tools/operations/log_lines.hpp"
#include "../support/explained_lines.hpp"
#include "../support/matches.hpp"
#include "document.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>

// docs/log-lines.md and the tool explain every error that the library logs, and
// no other.

using namespace test;

namespace
{

/** The texts that a regular expression finds in the library, with "..." for
 * what is filled in.
 */
std::set<std::string> textsIn(const std::string& pattern)
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
        for (auto text : matchesIn(bytesOf(entry.path()), pattern))
        {
            text = std::regex_replace(text, std::regex("\"\\s*\""), "");
            text = std::regex_replace(text, std::regex("\\\\n"), "");
            texts.insert(std::regex_replace(text, std::regex("\\{\\}"), "..."));
        }
    }
    return texts;
}

/** The texts of the calls of a function of the log. */
std::set<std::string> logged(const std::string& function)
{
    return textsIn("log::" + function +
                   "\\(\\s*\"((?:[^\"]|\"\\s*\")*)\"\\s*[,)]");
}

std::set<std::string> errors()
{
    auto all = logged("error");
    all.merge(logged("errorUnflushed"));
    return all;
}

/** As the document shortens it: it leaves out what follows "(". */
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
    std::set<std::string> expected;
    for (const auto& error : errors())
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

/** A text up to what is filled in. */
std::string beginningOf(const std::string& text)
{
    return text.substr(0, text.find("..."));
}

TEST(LogLines, ThatAreErrorsAreAllExplainedByTheTool)
{
    for (const auto& error : errors())
    {
        EXPECT_NE(explanationOf(beginningOf(error)), nullptr) << error;
    }
}

TEST(LogLines, ThatTheToolExplainsAreAllLogged)
{
    auto texts = errors();
    // A no of the service that verifies is logged as progress.
    texts.merge(textsIn("log::progress\\(\\w+ \\?[^:]*: \"([^\"]*)\""));
    const auto explained = matchesIn(textOf("tools/operations/log_lines.cpp"),
                                     "LogLine\\{\\s*\"([^\"]*)\"");
    EXPECT_GT(explained.size(), 20);
    for (const auto& beginning : explained)
    {
        EXPECT_TRUE(std::ranges::any_of(texts, [&](const auto& text) {
            return text.starts_with(beginning) ||
                   beginning.starts_with(beginningOf(text));
        })) << beginning;
    }
}

} // namespace
