// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <plain.hpp>

using namespace std::string_literals;

namespace
{

TEST(Plain, LeavesOrdinaryTextsOfAnyScriptAsTheyAre)
{
    for (const auto* text :
         {"", "2.14.0", R"(bmc_rot2\x20update\x20-tmp-image.service)", "ä €",
          "\xf0\x9f\x94\xa5", "\xc2\xa0", "\xed\x9f\xbf", "\xee\x80\x80",
          "\xf4\x8f\xbf\xbf", "~", "\xe2\x80\xa7", "\xe2\x80\xaf",
          "\xe2\x81\xa5", "\xe2\x81\xaa"})
    {
        EXPECT_EQ(plain::line(text), text);
        EXPECT_EQ(plain::lines(text), text);
        EXPECT_TRUE(plain::isUtf8(text));
    }
}

TEST(Plain, EscapesControlCharacters)
{
    EXPECT_EQ(plain::line("\0\a\b\t\r\x1b[2J\x1f\x7f"s),
              R"(\x00\x07\x08\x09\x0d\x1b[2J\x1f\x7f)");
    EXPECT_EQ(plain::line("\xc2\x80\xc2\x9b\xc2\x9f"), R"(\u0080\u009b\u009f)");
}

TEST(Plain, EscapesTheNewlinesOfALineAndKeepsThoseOfLines)
{
    EXPECT_EQ(plain::line("a\nb\n"), R"(a\x0ab\x0a)");
    EXPECT_EQ(plain::lines("a\nb\x1b\n"), "a\nb\\x1b\n");
}

TEST(Plain, EscapesWhatEndsALineOrTurnsTheDirectionOfWriting)
{
    EXPECT_EQ(plain::line("\xd8\x9c\xe2\x80\x8e\xe2\x80\x8f"),
              R"(\u061c\u200e\u200f)");
    EXPECT_EQ(plain::line("\xe2\x80\xa8\xe2\x80\xa9\xe2\x80\xaa\xe2\x80\xae"),
              R"(\u2028\u2029\u202a\u202e)");
    EXPECT_EQ(plain::line("\xe2\x81\xa6\xe2\x81\xa9"), R"(\u2066\u2069)");
}

TEST(Plain, EscapesBytesThatAreNotUtf8)
{
    const std::pair<const char*, const char*> texts[]{
        {"\xff\xfe", R"(\xff\xfe)"},
        // A C1 control of terminals that do not read UTF-8.
        {"\x9b", R"(\x9b)"},
        // Cut off, at the end and before the next character.
        {"a\xc3", R"(a\xc3)"},
        {"\xe2\x82", R"(\xe2\x82)"},
        {"\xe2\x82z", R"(\xe2\x82z)"},
        {"\xf0\x9f\x94\x1b", R"(\xf0\x9f\x94\x1b)"},
        // Longer than need be.
        {"\xc0\x9b", R"(\xc0\x9b)"},
        {"\xc1\xbf", R"(\xc1\xbf)"},
        {"\xe0\x80\x9b", R"(\xe0\x80\x9b)"},
        {"\xe0\x9f\xbf", R"(\xe0\x9f\xbf)"},
        {"\xf0\x80\x80\x9b", R"(\xf0\x80\x80\x9b)"},
        {"\xf0\x8f\xbf\xbf", R"(\xf0\x8f\xbf\xbf)"},
        // Halves of a pair, and what is behind the last character.
        {"\xed\xa0\x80", R"(\xed\xa0\x80)"},
        {"\xed\xbf\xbf", R"(\xed\xbf\xbf)"},
        {"\xf4\x90\x80\x80", R"(\xf4\x90\x80\x80)"},
        {"\xf8\x88\x80\x80\x80", R"(\xf8\x88\x80\x80\x80)"},
    };
    for (const auto& [text, shown] : texts)
    {
        EXPECT_EQ(plain::line(text), shown);
        EXPECT_FALSE(plain::isUtf8(text)) << shown;
    }
}

TEST(Plain, IsTheSameIfItIsMadePlainOnceMore)
{
    for (auto byte = 0; byte < 256; ++byte)
    {
        const auto once = plain::line(std::string(1, static_cast<char>(byte)));
        EXPECT_EQ(plain::line(once), once);
    }
}

TEST(PlainTable, IsAsWideAsWhatItShows)
{
    EXPECT_EQ(plain::table({{"MB_CPLD", "1.0"}, {"  vendor", "WEXA"}}),
              "MB_CPLD   1.0\n"
              "  vendor  WEXA\n");
    EXPECT_EQ(plain::table({{"a\x1b"
                             "b",
                             "1\n2"},
                            {"\xc3\xa4", ""}}),
              "a\\x1bb  1\\x0a2\n"
              "\xc3\xa4\n");
    EXPECT_EQ(plain::table({}), "");
    const std::string wide(61, 'w');
    EXPECT_EQ(plain::table({{wide, "1"}, {"a", "2"}, {"bc", "3"}}),
              wide + "  1\n"
                     "a   2\n"
                     "bc  3\n");
}

} // namespace
