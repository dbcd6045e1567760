// SPDX-License-Identifier: Apache-2.0
#include "document.hpp"

#include <gtest/gtest.h>

#include <cctype>
#include <regex>
#include <set>

// Links within the project lead somewhere.

using namespace test;

namespace
{

/** The anchors of a document's headings. */
std::set<std::string> anchorsOf(const std::string& text)
{
    std::set<std::string> anchors;
    for (const auto& line : linesOf(text))
    {
        if (!line.starts_with("#"))
        {
            continue;
        }
        std::string anchor;
        for (const auto c : line.substr(line.find(' ') + 1))
        {
            if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' ||
                c == '_')
            {
                anchor += static_cast<char>(std::tolower(c));
            }
            else if (c == ' ')
            {
                anchor += '-';
            }
        }
        anchors.insert(anchor);
    }
    return anchors;
}

/** Code is no text. */
std::string withoutFences(const std::string& text)
{
    std::string rest;
    auto inside = false;
    for (const auto& line : linesOf(text))
    {
        inside = inside != line.starts_with("```");
        rest += inside ? "" : line + "\n";
    }
    return rest;
}

TEST(Links, LeadToFilesAndHeadingsThatExist)
{
    const std::regex link("\\]\\(([^)]+)\\)");
    auto count = 0;
    for (const auto& document : documents())
    {
        const auto text = withoutFences(textOf(document));
        for (std::sregex_iterator match(text.begin(), text.end(), link), end;
             match != end; ++match)
        {
            const std::string target = (*match)[1];
            if (target.starts_with("https://"))
            {
                continue;
            }
            ++count;
            const auto hash = target.find('#');
            const auto file = target.substr(0, hash);
            const auto path = file.empty()
                                  ? sources() / document
                                  : (sources() / document).parent_path() / file;
            ASSERT_TRUE(std::filesystem::exists(path))
                << document << ": " << target;
            if (hash != std::string::npos)
            {
                EXPECT_TRUE(
                    anchorsOf(bytesOf(path)).contains(target.substr(hash + 1)))
                    << document << ": " << target;
            }
        }
    }
    EXPECT_GT(count, 10);
}

} // namespace
