// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of sdbusplus, for a machine that is no BMC.
#pragma once

#include <sdbusplus/message/native_types.hpp>
#include <systemd/sd-bus.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

namespace sdbusplus::message::details
{

template <typename T>
struct plain
{
    using type = T;
};

template <size_t size>
struct plain<char[size]>
{
    using type = char*;
};

template <typename First, typename Second>
struct plain<std::pair<First, Second>>
{
    using type =
        std::pair<std::remove_cvref_t<First>, std::remove_cvref_t<Second>>;
};

template <typename... Ts>
struct plain<std::tuple<Ts...>>
{
    using type = std::tuple<std::remove_cvref_t<Ts>...>;
};

/** T as a value of its own: no reference, no const, neither in it a level
 *  down (the entries of a map, a tuple of references). */
template <typename T>
using Plain = typename plain<std::remove_cvref_t<T>>::type;

template <typename T, template <typename...> typename Template>
inline constexpr bool madeFrom = false;
template <template <typename...> typename Template, typename... Ts>
inline constexpr bool madeFrom<Template<Ts...>, Template> = true;

template <typename T>
concept Variant = madeFrom<T, std::variant>;
template <typename T>
concept Pair = madeFrom<T, std::pair>;
template <typename T>
concept Tuple = madeFrom<T, std::tuple>;

/** A string class; what it is on the wire is for basicCode to say. */
template <typename T>
concept Text = std::same_as<T, std::string> || std::same_as<T, object_path> ||
               std::same_as<T, signature>;

template <typename T>
concept CText = std::same_as<T, const char*> || std::same_as<T, char*>;

template <typename T>
concept Container = !Text<T> && requires(const T& items) {
    typename T::value_type;
    std::cbegin(items);
};

/** Type code of a basic type; 0 where D-Bus knows none for T. */
template <typename T>
inline constexpr char basicCode = CText<T> ? SD_BUS_TYPE_STRING : 0;
template <>
inline constexpr char basicCode<bool> = SD_BUS_TYPE_BOOLEAN;
template <>
inline constexpr char basicCode<uint8_t> = SD_BUS_TYPE_BYTE;
template <>
inline constexpr char basicCode<int16_t> = SD_BUS_TYPE_INT16;
template <>
inline constexpr char basicCode<uint16_t> = SD_BUS_TYPE_UINT16;
template <>
inline constexpr char basicCode<int32_t> = SD_BUS_TYPE_INT32;
template <>
inline constexpr char basicCode<uint32_t> = SD_BUS_TYPE_UINT32;
template <>
inline constexpr char basicCode<int64_t> = SD_BUS_TYPE_INT64;
template <>
inline constexpr char basicCode<uint64_t> = SD_BUS_TYPE_UINT64;
template <>
inline constexpr char basicCode<double> = SD_BUS_TYPE_DOUBLE;
template <>
inline constexpr char basicCode<std::string> = SD_BUS_TYPE_STRING;
template <>
inline constexpr char basicCode<object_path> = SD_BUS_TYPE_OBJECT_PATH;
template <>
inline constexpr char basicCode<signature> = SD_BUS_TYPE_SIGNATURE;

} // namespace sdbusplus::message::details
