// SPDX-License-Identifier: Apache-2.0
#include "remote.hpp"

#include <cstring>
#include <functional>

namespace fuzz
{

/** Throws what sd-bus says of an error; what it does not say is left out. */
[[noreturn]] static void fail(const char* name, sd_bus_error& error)
{
    std::string text = name;
    for (const auto* part : {error.name, error.message})
    {
        text += part == nullptr ? "" : std::string(": ") + part;
    }
    sd_bus_error_free(&error);
    throw Failure(text);
}

void step(int result, const char* name)
{
    if (result < 0)
    {
        sd_bus_error error{};
        sd_bus_error_set_errno(&error, result);
        fail(name, error);
    }
}

Message call(sd_bus* bus, const Message& call)
{
    sd_bus_error error{};
    sd_bus_message* reply = nullptr;
    if (sd_bus_call(bus, call.get(), 0, &error, &reply) < 0)
    {
        fail("sd_bus_call", error);
    }
    return {reply, sd_bus_message_unref};
}

bool readBool(sd_bus_message* message)
{
    int value = 0;
    step(sd_bus_message_read_basic(message, 'b', &value),
         "sd_bus_message_read_basic bool");
    return value != 0;
}

std::string readText(sd_bus_message* message, char type)
{
    const char* value = nullptr;
    step(sd_bus_message_read_basic(message, type, &value),
         "sd_bus_message_read_basic string");
    return value;
}

template <typename Number>
static Number readNumber(sd_bus_message* message, char type)
{
    Number value{};
    step(sd_bus_message_read_basic(message, type, &value),
         "sd_bus_message_read_basic fundamental");
    return value;
}

std::uint32_t readNumber(sd_bus_message* message)
{
    return readNumber<std::uint32_t>(message, 'u');
}

/** Whether the next value is a variant of `type`. */
static bool holds(sd_bus_message* message, const char* type)
{
    char found = 0;
    const char* inside = nullptr;
    const auto result = sd_bus_message_peek_type(message, &found, &inside);
    step(result, "sd_bus_message_verify_type variant");
    return result > 0 && found == 'v' && std::strcmp(inside, type) == 0;
}

static void skip(sd_bus_message* message)
{
    step(sd_bus_message_skip(message, "v"), "sd_bus_message_skip variant");
}

template <typename Read>
static auto readInside(sd_bus_message* message, const char* type, Read read)
{
    step(sd_bus_message_enter_container(message, 'v', type),
         "sd_bus_message_enter_container variant");
    auto value = read(message);
    step(sd_bus_message_exit_container(message),
         "sd_bus_message_exit_container variant");
    return value;
}

std::uint16_t readShortInside(sd_bus_message* message)
{
    if (holds(message, "q"))
    {
        return readInside(message, "q", [](sd_bus_message* inside) {
            return readNumber<std::uint16_t>(inside, 'q');
        });
    }
    skip(message);
    return 0;
}

std::string readTextInside(sd_bus_message* message)
{
    if (holds(message, "s"))
    {
        return readInside(message, "s", [](sd_bus_message* inside) {
            return readText(inside);
        });
    }
    skip(message);
    return {};
}

static wexa::core::PropertyValue readListed(sd_bus_message* message, char type)
{
    switch (type)
    {
        case 'i':
            return readNumber<std::int32_t>(message, type);
        case 'x':
            return readNumber<std::int64_t>(message, type);
        case 'u':
            return readNumber<std::uint32_t>(message, type);
        case 't':
            return readNumber<std::uint64_t>(message, type);
        case 's':
            return readText(message);
        default:
            return readBool(message);
    }
}

static wexa::core::PropertyValue readProperty(sd_bus_message* message)
{
    for (const auto* type : {"i", "x", "u", "t", "s", "b"})
    {
        if (holds(message, type))
        {
            return readInside(message, type, [&](sd_bus_message* inside) {
                return readListed(inside, *type);
            });
        }
    }
    skip(message);
    return std::int32_t{0};
}

/** Reads a dictionary; where a key comes again the first value stays. */
template <typename Value>
static std::map<std::string, Value>
readDictionary(sd_bus_message* message, const std::string& entryType,
               const std::function<Value(sd_bus_message*)>& readValue)
{
    std::map<std::string, Value> entries;
    step(sd_bus_message_enter_container(message, 'a',
                                        ('{' + entryType + '}').c_str()),
         "sd_bus_message_enter_container emplace_container");
    for (;;)
    {
        const auto atEnd = sd_bus_message_at_end(message, 0);
        step(atEnd, "sd_bus_message_at_end emplace_container");
        if (atEnd > 0)
        {
            break;
        }
        step(sd_bus_message_enter_container(message, 'e', entryType.c_str()),
             "sd_bus_message_enter_container " WEXA_PAIR);
        const auto key = readText(message);
        const auto value = readValue(message);
        step(sd_bus_message_exit_container(message),
             "sd_bus_message_exit_container " WEXA_PAIR);
        if (entries.count(key) == 0)
        {
            entries[key] = value;
        }
    }
    step(sd_bus_message_exit_container(message),
         "sd_bus_message_exit_container emplace_container");
    return entries;
}

wexa::core::PropertyMap readProperties(sd_bus_message* message)
{
    return readDictionary<wexa::core::PropertyValue>(message, "sv",
                                                     readProperty);
}

static Device readDevice(sd_bus_message* message)
{
    Device device;
    step(sd_bus_message_enter_container(message, 'r', "ssa{sv}"),
         "sd_bus_message_enter_container tuple");
    device.path = readText(message);
    device.driver = readText(message);
    device.properties = readProperties(message);
    step(sd_bus_message_exit_container(message),
         "sd_bus_message_exit_container tuple");
    return device;
}

std::map<std::string, Device> readRegistry(sd_bus_message* message)
{
    return readDictionary<Device>(message, "s(ssa{sv})", readDevice);
}

} // namespace fuzz
