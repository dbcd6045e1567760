// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message/types.hpp>
#include <systemd/sd-bus.h>

/** Reading C++ values from a message. Each step that fails throws an
 *  `SdBusError` that names it.
 */
namespace sdbusplus::message::details
{

/** A type that a map's entries can be read into. */
template <typename T>
struct Readable
{
    using type = T;
};

template <typename Key, typename Value>
struct Readable<std::pair<const Key, Value>>
{
    using type = std::pair<Key, Value>;
};

inline int check(int result, const char* step)
{
    if (result < 0)
    {
        throw exception::SdBusError(-result, step);
    }
    return result;
}

template <typename T>
void read(sd_bus_message* message, T& value);

template <typename T>
void read_basic(sd_bus_message* message, T& value)
{
    if constexpr (types::Text<T>)
    {
        const char* text = nullptr;
        check(sd_bus_message_read_basic(message, types::code_of<T>, &text),
              "sd_bus_message_read_basic string");
        value = T(text);
    }
    else if constexpr (std::same_as<T, bool>)
    {
        int truth = 0;
        check(sd_bus_message_read_basic(message, 'b', &truth),
              "sd_bus_message_read_basic bool");
        value = truth != 0;
    }
    else
    {
        static_assert(std::is_arithmetic_v<T>, "D-Bus has no such type");
        check(sd_bus_message_read_basic(message, types::code_of<T>, &value),
              "sd_bus_message_read_basic fundamental");
    }
}

/** The names of an array's steps, which depend on what it is read into. */
struct ArraySteps
{
    const char* enter;
    const char* atEnd;
    const char* exit;
};

inline constexpr ArraySteps listSteps{
    "sd_bus_message_enter_container emplace_back_container",
    "sd_bus_message_at_end emplace_back_container",
    "sd_bus_message_exit_container emplace_back_container"};
inline constexpr ArraySteps dictionarySteps{
    "sd_bus_message_enter_container emplace_container",
    "sd_bus_message_at_end emplace_container",
    "sd_bus_message_exit_container emplace_container"};

template <typename Item, typename Insert>
void read_array(sd_bus_message* message, const ArraySteps& steps,
                Insert&& insert)
{
    check(sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY,
                                         types::signature_of<Item>),
          steps.enter);
    while (check(sd_bus_message_at_end(message, 0), steps.atEnd) == 0)
    {
        Item item{};
        read(message, item);
        insert(std::move(item));
    }
    check(sd_bus_message_exit_container(message), steps.exit);
}

template <typename Key, typename Value>
void read(sd_bus_message* message, std::pair<Key, Value>& entry)
{
    check(sd_bus_message_enter_container(
              message, SD_BUS_TYPE_DICT_ENTRY,
              types::contents_of<std::pair<Key, Value>>),
          "sd_bus_message_enter_container pair");
    read(message, entry.first);
    read(message, entry.second);
    check(sd_bus_message_exit_container(message),
          "sd_bus_message_exit_container pair");
}

template <typename... Members>
void read(sd_bus_message* message, std::tuple<Members...>& structure)
{
    check(sd_bus_message_enter_container(
              message, SD_BUS_TYPE_STRUCT,
              types::contents_of<std::tuple<Members...>>),
          "sd_bus_message_enter_container tuple");
    std::apply(
        [message](auto&... members) { (details::read(message, members), ...); },
        structure);
    check(sd_bus_message_exit_container(message),
          "sd_bus_message_exit_container tuple");
}

/** Reads the variant if it holds a T. */
template <typename T, typename Variant>
bool read_alternative(sd_bus_message* message, Variant& value)
{
    if (check(sd_bus_message_verify_type(message, SD_BUS_TYPE_VARIANT,
                                         types::signature_of<T>),
              "sd_bus_message_verify_type variant") == 0)
    {
        return false;
    }
    check(sd_bus_message_enter_container(message, SD_BUS_TYPE_VARIANT,
                                         types::signature_of<T>),
          "sd_bus_message_enter_container variant");
    T held{};
    read(message, held);
    value = std::move(held);
    check(sd_bus_message_exit_container(message),
          "sd_bus_message_exit_container variant");
    return true;
}

template <typename... T>
void read(sd_bus_message* message, std::variant<T...>& value)
{
    if (!(read_alternative<T>(message, value) || ...))
    {
        check(sd_bus_message_skip(message, "v"), "sd_bus_message_skip variant");
        value = std::variant<T...>{};
    }
}

template <typename T>
void read(sd_bus_message* message, T& value)
{
    if constexpr (types::List<T>)
    {
        read_array<typename T::value_type>(
            message, listSteps,
            [&value](auto&& item) { value.emplace_back(std::move(item)); });
    }
    else if constexpr (types::Dictionary<T>)
    {
        read_array<typename Readable<typename T::value_type>::type>(
            message, dictionarySteps,
            [&value](auto&& item) { value.emplace(std::move(item)); });
    }
    else
    {
        read_basic(message, value);
    }
}

} // namespace sdbusplus::message::details
