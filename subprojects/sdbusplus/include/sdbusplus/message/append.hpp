// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/message/types.hpp>
#include <systemd/sd-bus.h>

/** Appending C++ values to a message. What sd-bus says of it is not looked
 *  at: a message that could not take a value fails when it is sent.
 */
namespace sdbusplus::message::details
{

template <typename T>
void append(sd_bus_message* message, const T& value);

inline void append_text(sd_bus_message* message, char code, const char* text)
{
    sd_bus_message_append_basic(message, code, text);
}

template <typename T>
void append_basic(sd_bus_message* message, const T& value)
{
    if constexpr (types::CString<T>)
    {
        append_text(message, 's', value);
    }
    else if constexpr (std::same_as<T, std::string>)
    {
        append_text(message, 's', value.c_str());
    }
    else if constexpr (types::Text<T>)
    {
        append_text(message, T::code, value.str.c_str());
    }
    else if constexpr (std::same_as<T, bool>)
    {
        const int truth = value;
        sd_bus_message_append_basic(message, 'b', &truth);
    }
    else
    {
        static_assert(std::is_arithmetic_v<T>, "D-Bus has no such type");
        sd_bus_message_append_basic(message, types::code_of<T>, &value);
    }
}

template <typename T>
void append_items(sd_bus_message* message, const T& items)
{
    sd_bus_message_open_container(message, SD_BUS_TYPE_ARRAY,
                                  types::signature_of<typename T::value_type>);
    for (const auto& item : items)
    {
        append(message, item);
    }
    sd_bus_message_close_container(message);
}

template <typename... T>
void append(sd_bus_message* message, const std::variant<T...>& value)
{
    std::visit(
        [message](const auto& held) {
            using Held = std::remove_cvref_t<decltype(held)>;
            sd_bus_message_open_container(message, SD_BUS_TYPE_VARIANT,
                                          types::signature_of<Held>);
            details::append(message, held);
            sd_bus_message_close_container(message);
        },
        value);
}

template <typename Key, typename Value>
void append(sd_bus_message* message, const std::pair<Key, Value>& entry)
{
    sd_bus_message_open_container(message, SD_BUS_TYPE_DICT_ENTRY,
                                  types::contents_of<std::pair<Key, Value>>);
    append(message, entry.first);
    append(message, entry.second);
    sd_bus_message_close_container(message);
}

template <typename... Members>
void append(sd_bus_message* message, const std::tuple<Members...>& structure)
{
    sd_bus_message_open_container(message, SD_BUS_TYPE_STRUCT,
                                  types::contents_of<std::tuple<Members...>>);
    std::apply(
        [message](const auto&... members) {
            (details::append(message, members), ...);
        },
        structure);
    sd_bus_message_close_container(message);
}

template <typename T>
void append(sd_bus_message* message, const T& value)
{
    if constexpr (types::List<T> || types::Dictionary<T>)
    {
        append_items(message, value);
    }
    else
    {
        append_basic(message, value);
    }
}

} // namespace sdbusplus::message::details
