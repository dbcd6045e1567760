// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of sdbusplus, for a machine that is no BMC.
#pragma once

#include <sdbusplus/details/type_text.hpp>
#include <sdbusplus/message/types.hpp>
#include <systemd/sd-bus.h>

#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

/* Nothing here looks at what sd-bus returns: a value that sd-bus refuses is
 * left out, and the message or its call fails later. */

namespace sdbusplus::message::details
{

template <typename T>
void appendOne(sd_bus_message* m, const T& value);

template <typename T>
void appendBasic(sd_bus_message* m, const T& value)
{
    constexpr char code = basicCode<Plain<T>>;
    if constexpr (std::is_same_v<T, bool>)
    {
        // sd-bus reads a boolean as an int.
        const int number = value;
        sd_bus_message_append_basic(m, code, &number);
    }
    else if constexpr (std::is_same_v<T, std::string>)
    {
        sd_bus_message_append_basic(m, code, value.c_str());
    }
    else if constexpr (Text<T>)
    {
        sd_bus_message_append_basic(m, code, value.str.c_str());
    }
    else if constexpr (CText<Plain<T>>)
    {
        sd_bus_message_append_basic(m, code, value);
    }
    else
    {
        sd_bus_message_append_basic(m, code, &value);
    }
}

template <typename Body>
void enclosed(sd_bus_message* m, char code, const char* contents, Body body)
{
    sd_bus_message_open_container(m, code, contents);
    body();
    sd_bus_message_close_container(m);
}

template <Container T>
void appendContainer(sd_bus_message* m, const T& items)
{
    const char* type = typeText<typename T::value_type>.data();
    enclosed(m, SD_BUS_TYPE_ARRAY, type, [&] {
        for (auto& item : items)
        {
            appendOne(m, item);
        }
    });
}

template <typename First, typename Second>
void appendPair(sd_bus_message* m, const std::pair<First, Second>& entry)
{
    const char* types = typeText<First, Second>.data();
    enclosed(m, SD_BUS_TYPE_DICT_ENTRY, types, [&] {
        appendOne(m, entry.first);
        appendOne(m, entry.second);
    });
}

template <typename... Ts>
void appendTuple(sd_bus_message* m, const std::tuple<Ts...>& fields)
{
    enclosed(m, SD_BUS_TYPE_STRUCT, typeText<Ts...>.data(), [&] {
        std::apply([&](const auto&... field) { (appendOne(m, field), ...); },
                   fields);
    });
}

template <typename... Ts>
void appendVariant(sd_bus_message* m, const std::variant<Ts...>& value)
{
    std::visit(
        [&]<typename T>(const T& held) {
            enclosed(m, SD_BUS_TYPE_VARIANT, typeText<T>.data(),
                     [&] { appendOne(m, held); });
        },
        value);
}

template <typename T>
void appendOne(sd_bus_message* m, const T& value)
{
    if constexpr (Variant<T>)
    {
        appendVariant(m, value);
    }
    else if constexpr (Pair<T>)
    {
        appendPair(m, value);
    }
    else if constexpr (Tuple<T>)
    {
        appendTuple(m, value);
    }
    else if constexpr (Container<T>)
    {
        appendContainer(m, value);
    }
    else
    {
        static_assert(basicCode<Plain<T>> != 0,
                      "D-Bus has no type for this C++ type");
        appendBasic(m, value);
    }
}

} // namespace sdbusplus::message::details
