// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of sdbusplus, for a machine that is no BMC.
#pragma once

#include <sdbusplus/details/checked.hpp>
#include <sdbusplus/details/type_text.hpp>
#include <sdbusplus/message/types.hpp>
#include <systemd/sd-bus.h>

#include <concepts>
#include <tuple>
#include <utility>
#include <variant>

/* Every step that sd-bus refuses throws SdBusError with the step's own name;
 * what was read before it stays read. Only negative results are failures: at
 * the end of an array sd-bus answers 0 and gives no value. */

namespace sdbusplus::message::details
{

using sdbusplus::details::checked;

template <typename T>
void readOne(sd_bus_message* m, T& value);

/** Names of the steps that read an array. */
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

inline constexpr ArraySteps setSteps{
    "sd_bus_message_enter_container emplace_container",
    "sd_bus_message_at_end emplace_container",
    "sd_bus_message_exit_container emplace_container"};

inline void readBool(sd_bus_message* m, bool& value)
{
    int number = 0; // sd-bus writes a boolean as an int
    checked(sd_bus_message_read_basic(m, SD_BUS_TYPE_BOOLEAN, &number),
            "sd_bus_message_read_basic bool");
    value = number != 0;
}

template <Text T>
void readText(sd_bus_message* m, T& value)
{
    const char* text = nullptr;
    checked(sd_bus_message_read_basic(m, basicCode<T>, &text),
            "sd_bus_message_read_basic string");
    value = T(text);
}

template <typename T>
void readFundamental(sd_bus_message* m, T& value)
{
    static_assert(basicCode<T> != 0, "D-Bus has no type for this C++ type");
    checked(sd_bus_message_read_basic(m, basicCode<T>, &value),
            "sd_bus_message_read_basic fundamental");
}

template <typename Item, typename Insert>
void readItems(sd_bus_message* m, const ArraySteps& steps, Insert insert)
{
    checked(sd_bus_message_enter_container(m, SD_BUS_TYPE_ARRAY,
                                           typeText<Item>.data()),
            steps.enter);
    while (checked(sd_bus_message_at_end(m, false), steps.atEnd) == 0)
    {
        Item item{};
        readOne(m, item);
        insert(std::move(item));
    }
    checked(sd_bus_message_exit_container(m), steps.exit);
}

template <Container T>
void readContainer(sd_bus_message* m, T& items)
{
    using Item = Plain<typename T::value_type>;
    if constexpr (requires(Item& item) { items.emplace_back(item); })
    {
        readItems<Item>(m, listSteps, [&](Item&& item) {
            items.emplace_back(std::move(item));
        });
    }
    else
    {
        readItems<Item>(m, setSteps,
                        [&](Item&& item) { items.emplace(std::move(item)); });
    }
}

template <Pair T>
void readPair(sd_bus_message* m, T& entry)
{
    checked(
        sd_bus_message_enter_container(
            m, SD_BUS_TYPE_DICT_ENTRY,
            typeText<typename T::first_type, typename T::second_type>.data()),
        "sd_bus_message_enter_container pair");
    readOne(m, entry.first);
    readOne(m, entry.second);
    checked(sd_bus_message_exit_container(m),
            "sd_bus_message_exit_container pair");
}

template <typename... Ts>
void readTuple(sd_bus_message* m, std::tuple<Ts...>& fields)
{
    checked(sd_bus_message_enter_container(m, SD_BUS_TYPE_STRUCT,
                                           typeText<Ts...>.data()),
            "sd_bus_message_enter_container tuple");
    std::apply([&](auto&... field) { (readOne(m, field), ...); }, fields);
    checked(sd_bus_message_exit_container(m),
            "sd_bus_message_exit_container tuple");
}

/** Reads the variant if it holds a T, and says whether it did. */
template <typename T, typename... Ts>
bool readAlternative(sd_bus_message* m, std::variant<Ts...>& value)
{
    const char* type = typeText<T>.data();
    if (checked(sd_bus_message_verify_type(m, SD_BUS_TYPE_VARIANT, type),
                "sd_bus_message_verify_type variant") == 0)
    {
        return false;
    }
    checked(sd_bus_message_enter_container(m, SD_BUS_TYPE_VARIANT, type),
            "sd_bus_message_enter_container variant");
    T held{};
    readOne(m, held);
    value = std::move(held);
    checked(sd_bus_message_exit_container(m),
            "sd_bus_message_exit_container variant");
    return true;
}

template <typename... Ts>
void readVariant(sd_bus_message* m, std::variant<Ts...>& value)
{
    if (!(readAlternative<Ts>(m, value) || ...))
    {
        checked(sd_bus_message_skip(m, "v"), "sd_bus_message_skip variant");
        value.template emplace<0>();
    }
}

template <typename T>
void readOne(sd_bus_message* m, T& value)
{
    if constexpr (std::same_as<T, bool>)
    {
        readBool(m, value);
    }
    else if constexpr (Text<T>)
    {
        readText(m, value);
    }
    else if constexpr (Variant<T>)
    {
        readVariant(m, value);
    }
    else if constexpr (Pair<T>)
    {
        readPair(m, value);
    }
    else if constexpr (Tuple<T>)
    {
        readTuple(m, value);
    }
    else if constexpr (Container<T>)
    {
        readContainer(m, value);
    }
    else
    {
        readFundamental(m, value);
    }
}

} // namespace sdbusplus::message::details
