// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of sdbusplus, for a machine that is no BMC.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace sdbusplus
{

namespace message
{

namespace details
{

/** Text that travels under a D-Bus type of its own.
 *
 *  Converts from and to std::string, and compares with it and its like.
 */
template <typename Kind>
struct string_kind
{
    std::string str;

    string_kind() = default;

    string_kind(const std::string& text) : str(text) {}

    string_kind(std::string&& text) : str(std::move(text)) {}

    // "volatile" keeps the choice between these two what callers know.
    operator const std::string&() const volatile&
    {
        return const_cast<const string_kind*>(this)->str;
    }

    operator std::string&&() &&
    {
        return std::move(str);
    }

    friend bool operator==(const Kind& left, const Kind& right)
    {
        return left.str == right.str;
    }

    friend bool operator==(const Kind& left, const std::string& right)
    {
        return left.str == right;
    }

    friend bool operator<(const Kind& left, const Kind& right)
    {
        return left.str < right.str;
    }

    friend bool operator<(const Kind& left, const std::string& right)
    {
        return left.str < right;
    }

    friend bool operator<(const std::string& left, const Kind& right)
    {
        return left < right.str;
    }
};

struct string_wrapper : string_kind<string_wrapper>
{
    using string_kind::string_kind;
};

struct string_path_wrapper : string_kind<string_path_wrapper>
{
    using string_kind::string_kind;
};

} // namespace details

/** D-Bus type "o". */
using object_path = details::string_path_wrapper;
/** D-Bus type "g". */
using signature = details::string_wrapper;

} // namespace message
} // namespace sdbusplus

template <>
struct std::hash<sdbusplus::message::signature>
{
    std::size_t operator()(const sdbusplus::message::signature& s) const
    {
        return std::hash<std::string>()(s.str);
    }
};

template <>
struct std::hash<sdbusplus::message::object_path>
{
    std::size_t operator()(const sdbusplus::message::object_path& path) const
    {
        return std::hash<std::string>()(path.str);
    }
};
