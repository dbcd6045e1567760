// SPDX-License-Identifier: Apache-2.0
#include "told_value.hpp"

#include "patience.hpp"

#include <sdbusplus/message.hpp>

#include <cstdint>
#include <memory>
#include <sstream>

/** No message is to be longer because of what a service says. */
constexpr std::size_t longestText = 100;

std::string ToldValue::inWords() const
{
    if (type != "s" && type != "o" && type != "g")
    {
        return text;
    }
    return text.size() > longestText
               ? '"' + text.substr(0, longestText) + "...\""
               : '"' + text + '"';
}

static std::string numberText(double number)
{
    std::ostringstream text;
    text << number;
    return text.str();
}

template <typename Value>
static Value basic(sd_bus_message* message, char type)
{
    Value value{};
    return sd_bus_message_read_basic(message, type, &value) > 0 ? value
                                                                : Value{};
}

/** Reads a value of a basic type. */
static std::string textOf(sd_bus_message* message, char type)
{
    switch (type)
    {
        case SD_BUS_TYPE_BOOLEAN:
            return basic<int>(message, type) != 0 ? "true" : "false";
        case SD_BUS_TYPE_BYTE:
            return std::to_string(basic<std::uint8_t>(message, type));
        case SD_BUS_TYPE_INT16:
            return std::to_string(basic<std::int16_t>(message, type));
        case SD_BUS_TYPE_UINT16:
            return std::to_string(basic<std::uint16_t>(message, type));
        case SD_BUS_TYPE_INT32:
        case SD_BUS_TYPE_UNIX_FD:
            return std::to_string(basic<std::int32_t>(message, type));
        case SD_BUS_TYPE_UINT32:
            return std::to_string(basic<std::uint32_t>(message, type));
        case SD_BUS_TYPE_INT64:
            return std::to_string(basic<std::int64_t>(message, type));
        case SD_BUS_TYPE_UINT64:
            return std::to_string(basic<std::uint64_t>(message, type));
        case SD_BUS_TYPE_DOUBLE:
            return numberText(basic<double>(message, type));
        default:
            const auto* const text = basic<const char*>(message, type);
            return text == nullptr ? "" : text;
    }
}

ToldValue nextValueOf(sd_bus_message* message)
{
    char type = 0;
    const char* contents = nullptr;
    if (sd_bus_message_peek_type(message, &type, &contents) <= 0)
    {
        return {};
    }
    if (type == SD_BUS_TYPE_VARIANT)
    {
        ToldValue value;
        if (sd_bus_message_enter_container(message, type, contents) > 0)
        {
            value = nextValueOf(message);
            sd_bus_message_exit_container(message);
        }
        return value;
    }
    if (contents == nullptr)
    {
        return {{type}, textOf(message, type)};
    }
    const std::string inside = contents;
    const auto whole = type == SD_BUS_TYPE_STRUCT       ? "(" + inside + ")"
                       : type == SD_BUS_TYPE_DICT_ENTRY ? "{" + inside + "}"
                                                        : type + inside;
    sd_bus_message_skip(message, whole.c_str());
    return {whole, ""};
}

ToldValue nextValueOf(sdbusplus::message_t& message)
{
    const std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>
        another(sdbusplus::message_t(message).release(), sd_bus_message_unref);
    return nextValueOf(another.get());
}

std::string anotherTypeInWords(const ToldValue& value,
                               const std::string& expected)
{
    const auto came =
        value.type.empty()
            ? "without a value"
            : "of type '" + value.type + "'" +
                  (value.inWords().empty() ? "" : " (" + value.inWords() + ")");
    return came + ", where '" + expected + "' is expected";
}

ToldValue propertyAt(sdbusplus::bus_t& bus, const Place& place,
                     const char* property)
{
    auto call = bus.new_method_call(place.service, place.path,
                                    "org.freedesktop.DBus.Properties", "Get");
    call.append(place.interface, property);
    auto reply = bus.call(call, patience);
    return nextValueOf(reply);
}
