// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "error.hpp"

#include <systemd/sd-bus.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

// C++ values as D-Bus carries them: a vector is an array, a pair an entry of a
// dictionary, a tuple a structure, and a std::variant a variant.

namespace bmcsim::dbus
{

struct ObjectPath
{
    std::string text;

    bool operator==(const ObjectPath&) const = default;
};

namespace detail
{

template <template <typename...> class Template, typename Value>
constexpr bool isA = false;
template <template <typename...> class Template, typename... Arguments>
constexpr bool isA<Template, Template<Arguments...>> = true;

/** The type code of a value that is no container. */
template <typename Value>
consteval char code()
{
    using std::is_same_v;
    if (is_same_v<Value, std::string>)
    {
        return 's';
    }
    if (is_same_v<Value, ObjectPath>)
    {
        return 'o';
    }
    if (is_same_v<Value, bool>)
    {
        return 'b';
    }
    if (is_same_v<Value, double>)
    {
        return 'd';
    }
    constexpr auto isSigned = std::is_signed_v<Value>;
    switch (std::is_integral_v<Value> ? sizeof(Value) : 0)
    {
        case 1:
            return 'y';
        case 2:
            return isSigned ? 'n' : 'q';
        case 4:
            return isSigned ? 'i' : 'u';
        case 8:
            return isSigned ? 'x' : 't';
        default:
            throw "no D-Bus type";
    }
}

} // namespace detail

/** The signature of a value: "a{sv}". */
template <typename Value>
std::string typeOf()
{
    using detail::isA;
    const auto ofMembers =
        []<typename... Members>(std::type_identity<std::tuple<Members...>>) {
            return (std::string() + ... + typeOf<Members>());
        };
    if constexpr (isA<std::vector, Value>)
    {
        return 'a' + typeOf<typename Value::value_type>();
    }
    else if constexpr (isA<std::pair, Value>)
    {
        return '{' + typeOf<typename Value::first_type>() +
               typeOf<typename Value::second_type>() + '}';
    }
    else if constexpr (isA<std::tuple, Value>)
    {
        return '(' + ofMembers(std::type_identity<Value>()) + ')';
    }
    else if constexpr (isA<std::variant, Value>)
    {
        return "v";
    }
    else
    {
        return std::string(1, detail::code<Value>());
    }
}

/** @throw Error  the value cannot be carried: a text that is not UTF-8, a
 *         malformed path
 */
template <typename Value>
void append(sd_bus_message* message, const Value& value)
{
    using detail::isA;
    constexpr auto what = "cannot put a value into a message";
    const auto within = [&](char kind, std::string type, auto&& fill) {
        // What is inside of an array, a structure or an entry.
        type = kind == 'v'   ? type
               : kind == 'a' ? type.substr(1)
                             : type.substr(1, type.size() - 2);
        require(sd_bus_message_open_container(message, kind, type.c_str()),
                what);
        fill();
        require(sd_bus_message_close_container(message), what);
    };
    const auto fillFrom = [&](const auto&... members) {
        (append(message, members), ...);
    };
    if constexpr (isA<std::vector, Value>)
    {
        within('a', typeOf<Value>(), [&] {
            for (const auto& element : value)
            {
                append(message, element);
            }
        });
    }
    else if constexpr (isA<std::pair, Value>)
    {
        within('e', typeOf<Value>(),
               [&] { fillFrom(value.first, value.second); });
    }
    else if constexpr (isA<std::tuple, Value>)
    {
        within('r', typeOf<Value>(), [&] { std::apply(fillFrom, value); });
    }
    else if constexpr (isA<std::variant, Value>)
    {
        std::visit(
            [&](const auto& held) {
                within('v', typeOf<std::decay_t<decltype(held)>>(),
                       [&] { append(message, held); });
            },
            value);
    }
    else if constexpr (std::is_same_v<Value, std::string>)
    {
        require(sd_bus_message_append_basic(message, 's', value.c_str()), what);
    }
    else if constexpr (std::is_same_v<Value, ObjectPath>)
    {
        require(sd_bus_message_append_basic(message, 'o', value.text.c_str()),
                what);
    }
    else if constexpr (std::is_same_v<Value, bool>)
    {
        const int number = value;
        require(sd_bus_message_append_basic(message, 'b', &number), what);
    }
    else
    {
        require(
            sd_bus_message_append_basic(message, detail::code<Value>(), &value),
            what);
    }
}

/** Takes the next value out of a message; texts, truth values, numbers and
 *  arrays of these.
 *
 *  @throw Error  it is of another type
 */
template <typename Value>
Value read(sd_bus_message* message)
{
    constexpr auto what = "cannot take a value out of a message";
    if constexpr (detail::isA<std::vector, Value>)
    {
        using Element = typename Value::value_type;
        Value list;
        require(sd_bus_message_enter_container(message, 'a',
                                               typeOf<Element>().c_str()),
                what);
        while (require(sd_bus_message_at_end(message, 0), what) == 0)
        {
            list.push_back(read<Element>(message));
        }
        require(sd_bus_message_exit_container(message), what);
        return list;
    }
    else if constexpr (std::is_same_v<Value, std::string>)
    {
        const char* text = nullptr;
        const auto got =
            require(sd_bus_message_read_basic(message, 's', &text), what);
        require(got == 0 ? -ENXIO : got, what);
        return text;
    }
    else
    {
        std::conditional_t<std::is_same_v<Value, bool>, int, Value> number{};
        const auto got = require(
            sd_bus_message_read_basic(message, detail::code<Value>(), &number),
            what);
        require(got == 0 ? -ENXIO : got, what);
        return static_cast<Value>(number);
    }
}

} // namespace bmcsim::dbus
