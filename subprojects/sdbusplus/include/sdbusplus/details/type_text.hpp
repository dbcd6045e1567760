// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of sdbusplus, for a machine that is no BMC.
#pragma once

#include <sdbusplus/message/types.hpp>
#include <systemd/sd-bus.h>

#include <array>
#include <cstddef>
#include <tuple>
#include <utility>

namespace sdbusplus::message::details
{

/** A type signature while it is written; D-Bus allows 255 characters. */
struct TypeWriter
{
    std::array<char, 256> text{};
    size_t length = 0;

    constexpr void put(char code)
    {
        text.at(length++) = code;
    }

    template <typename T>
    constexpr void describe();

    template <typename... Ts>
    constexpr void enclose(char begin, char end, std::tuple<Ts...>*)
    {
        put(begin);
        (describe<Ts>(), ...);
        put(end);
    }

    template <typename First, typename Second>
    constexpr void enclose(char begin, char end, std::pair<First, Second>*)
    {
        enclose(begin, end, static_cast<std::tuple<First, Second>*>(nullptr));
    }
};

template <typename T>
constexpr void TypeWriter::describe()
{
    using Value = Plain<T>;
    [[maybe_unused]] constexpr Value* kind = nullptr;
    if constexpr (basicCode<Value> != 0)
    {
        put(basicCode<Value>);
    }
    else if constexpr (Variant<Value>)
    {
        put(SD_BUS_TYPE_VARIANT);
    }
    else if constexpr (Pair<Value>)
    {
        enclose(SD_BUS_TYPE_DICT_ENTRY_BEGIN, SD_BUS_TYPE_DICT_ENTRY_END, kind);
    }
    else if constexpr (Tuple<Value>)
    {
        enclose(SD_BUS_TYPE_STRUCT_BEGIN, SD_BUS_TYPE_STRUCT_END, kind);
    }
    else
    {
        static_assert(Container<Value>, "D-Bus has no type for this C++ type");
        put(SD_BUS_TYPE_ARRAY);
        describe<typename Value::value_type>();
    }
}

template <typename... Ts>
consteval auto writeTypes()
{
    TypeWriter writer;
    (writer.describe<Ts>(), ...);
    return writer.text;
}

/** Type signature of a sequence of C++ types, zero-terminated. */
template <typename... Ts>
inline constexpr auto typeText = writeTypes<Ts...>();

} // namespace sdbusplus::message::details
