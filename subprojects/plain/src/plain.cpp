// SPDX-License-Identifier: Apache-2.0
#include "plain.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <optional>

namespace plain
{

namespace
{

struct Character
{
    char32_t code;
    std::size_t size;
};

struct Form
{
    unsigned char mask;
    unsigned char lead;
    /** What fits a shorter form must use it. */
    char32_t least;
};

/** Of one byte to four. */
constexpr std::array forms{Form{0x80, 0x00, 0}, Form{0xe0, 0xc0, 0x80},
                           Form{0xf0, 0xe0, 0x800}, Form{0xf8, 0xf0, 0x10000}};

bool isCharacter(char32_t code)
{
    return code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
}

/** The character that a text begins with; nothing where it is not UTF-8. */
std::optional<Character> firstOf(std::string_view text)
{
    const auto first = static_cast<unsigned char>(text.front());
    const auto* const form =
        std::ranges::find_if(forms, [first](const auto& candidate) {
            return (first & candidate.mask) == candidate.lead;
        });
    const auto size = static_cast<std::size_t>(form - forms.begin()) + 1;
    if (form == forms.end() || text.size() < size)
    {
        return {};
    }
    char32_t code = first & static_cast<unsigned char>(~form->mask);
    for (const auto more : text.substr(1, size - 1))
    {
        const auto byte = static_cast<unsigned char>(more);
        if ((byte & 0xc0) != 0x80)
        {
            return {};
        }
        code = (code << 6) | (byte & 0x3f);
    }
    if (code < form->least || !isCharacter(code))
    {
        return {};
    }
    return Character{code, size};
}

bool isControl(char32_t code)
{
    return code < 0x20 || (code >= 0x7f && code <= 0x9f);
}

/** Ends a line, or turns the direction of writing. */
bool rearranges(char32_t code)
{
    return code == 0x61c || code == 0x200e || code == 0x200f ||
           (code >= 0x2028 && code <= 0x202e) ||
           (code >= 0x2066 && code <= 0x2069);
}

std::string hexadecimal(const char* format, char32_t number)
{
    char text[16];
    std::snprintf(text, sizeof(text), format,
                  static_cast<unsigned int>(number));
    return text;
}

std::string escaped(std::string_view text, bool keepNewlines)
{
    std::string shown;
    while (!text.empty())
    {
        const auto character = firstOf(text);
        const auto size = character ? character->size : 1;
        const auto code = character ? character->code
                                    : static_cast<unsigned char>(text.front());
        if (keepNewlines && code == '\n')
        {
            shown += '\n';
        }
        else if (!character || (size == 1 && isControl(code)))
        {
            shown += hexadecimal("\\x%02x", code);
        }
        else if (isControl(code) || rearranges(code))
        {
            shown += hexadecimal("\\u%04x", code);
        }
        else
        {
            shown += text.substr(0, size);
        }
        text.remove_prefix(size);
    }
    return shown;
}

/** Of a plain text. */
std::size_t widthOf(const std::string& text)
{
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char byte) { return (byte & 0xc0) != 0x80; }));
}

} // namespace

std::string line(std::string_view text)
{
    return escaped(text, false);
}

std::string lines(std::string_view text)
{
    return escaped(text, true);
}

/** A wider name does not widen the column for all others. */
constexpr std::size_t widestColumn = 60;

std::string table(const std::vector<Row>& rows)
{
    std::size_t widest = 0;
    for (const auto& row : rows)
    {
        const auto width = widthOf(line(row.first));
        widest = width <= widestColumn ? std::max(widest, width) : widest;
    }
    std::string text;
    for (const auto& [name, value] : rows)
    {
        const auto shown = line(name);
        const auto width = widthOf(shown);
        const auto gap =
            value.empty() ? 0 : std::max(widest, width) - width + 2;
        text += shown + std::string(gap, ' ') + line(value) + '\n';
    }
    return text;
}

bool isUtf8(std::string_view text)
{
    while (!text.empty())
    {
        const auto character = firstOf(text);
        if (!character)
        {
            return false;
        }
        text.remove_prefix(character->size);
    }
    return true;
}

} // namespace plain
