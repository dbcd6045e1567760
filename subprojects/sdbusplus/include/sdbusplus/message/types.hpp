// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/message/native_types.hpp>

#include <concepts>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

/** The D-Bus type of a C++ type, known when compiling. */
namespace sdbusplus::message::types
{

/** Type codes, as a string. */
template <char... codes>
struct Codes
{
    static constexpr char text[] = {codes..., '\0'};
};

template <char... left, char... right>
constexpr Codes<left..., right...> operator+(Codes<left...>, Codes<right...>)
{
    return {};
}

template <typename T>
concept Text = std::same_as<T, std::string> || std::same_as<T, object_path> ||
    std::same_as<T, signature>;

template <typename T>
concept CString = std::is_convertible_v<T, const char*>;

template <typename T>
concept List = !Text<T> && requires(T list, typename T::value_type value)
{
    list.emplace_back(value);
};

template <typename T>
concept Dictionary = requires(T map, typename T::value_type value)
{
    map.emplace(value);
};

/** The code of each type; a class, so that containers can be told by
 *  specialising it.
 */
template <typename T>
struct CodesOf;

template <typename T>
using codes_of = decltype(CodesOf<std::remove_cvref_t<T>>::codes());

template <char code>
struct Basic
{
    static constexpr Codes<code> codes()
    {
        return {};
    }
};

// clang-format off
template <> struct CodesOf<bool> : Basic<'b'> {};
template <> struct CodesOf<std::uint8_t> : Basic<'y'> {};
template <> struct CodesOf<std::int16_t> : Basic<'n'> {};
template <> struct CodesOf<std::uint16_t> : Basic<'q'> {};
template <> struct CodesOf<std::int32_t> : Basic<'i'> {};
template <> struct CodesOf<std::uint32_t> : Basic<'u'> {};
template <> struct CodesOf<std::int64_t> : Basic<'x'> {};
template <> struct CodesOf<std::uint64_t> : Basic<'t'> {};
template <> struct CodesOf<double> : Basic<'d'> {};
template <> struct CodesOf<std::string> : Basic<'s'> {};
template <> struct CodesOf<object_path> : Basic<'o'> {};
template <> struct CodesOf<signature> : Basic<'g'> {};
template <CString T> struct CodesOf<T> : Basic<'s'> {};
template <typename... T> struct CodesOf<std::variant<T...>> : Basic<'v'> {};

// clang-format on

template <List T>
struct CodesOf<T>
{
    static constexpr auto codes()
    {
        return Codes<'a'>() + codes_of<typename T::value_type>();
    }
};

template <Dictionary T>
struct CodesOf<T>
{
    static constexpr auto codes()
    {
        return Codes<'a'>() + codes_of<typename T::value_type>();
    }
};

template <typename Key, typename Value>
struct CodesOf<std::pair<Key, Value>>
{
    static constexpr auto codes()
    {
        return Codes<'{'>() + contents() + Codes<'}'>();
    }

    static constexpr auto contents()
    {
        return codes_of<Key>() + codes_of<Value>();
    }
};

template <typename... Members>
struct CodesOf<std::tuple<Members...>>
{
    static constexpr auto codes()
    {
        return Codes<'('>() + contents() + Codes<')'>();
    }

    static constexpr auto contents()
    {
        return (Codes<>() + ... + codes_of<Members>());
    }
};

/** The signature of a value of type T. */
template <typename T>
constexpr auto& signature_of = codes_of<T>::text;

/** The signature of what a pair or a tuple holds. */
template <typename T>
constexpr auto& contents_of = decltype(CodesOf<T>::contents())::text;

/** The type code of a value that is no container. */
template <typename T>
constexpr char code_of = signature_of<T>[0];

} // namespace sdbusplus::message::types
