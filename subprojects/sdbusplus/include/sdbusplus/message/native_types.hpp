// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>
#include <string>
#include <utility>

namespace sdbusplus::message
{

namespace details
{

/** A text that D-Bus tells apart from a plain string by its type code. */
template <char typeCode>
struct typed_string
{
    static constexpr char code = typeCode;

    std::string str;

    typed_string() = default;

    typed_string(std::string text) : str(std::move(text)) {}

    typed_string(const char* text) : str(text) {}

    operator const std::string&() const&
    {
        return str;
    }

    operator std::string&&() &&
    {
        return std::move(str);
    }

    auto operator<=>(const typed_string&) const = default;
    bool operator==(const typed_string&) const = default;

    bool operator==(const std::string& other) const
    {
        return str == other;
    }
};

} // namespace details

using object_path = details::typed_string<'o'>;
using signature = details::typed_string<'g'>;

} // namespace sdbusplus::message
