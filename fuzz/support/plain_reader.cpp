// SPDX-License-Identifier: Apache-2.0
#include "plain_reader.hpp"

namespace fuzz
{

namespace
{

struct Unreadable
{};

int step(int result)
{
    if (result < 0)
    {
        throw Unreadable{};
    }
    return result;
}

template <typename Number>
Number readNumber(sd_bus_message* message, char type)
{
    Number value{};
    step(sd_bus_message_read_basic(message, type, &value));
    return value;
}

bool readBool(sd_bus_message* message)
{
    return readNumber<int>(message, 'b') != 0;
}

std::string readText(sd_bus_message* message)
{
    return readNumber<const char*>(message, 's');
}

/** The value of a variant, which comes next, where it is of the type. */
template <typename Read>
auto readInside(sd_bus_message* message, const char* type, Read read)
    -> std::optional<decltype(read(message))>
{
    if (step(sd_bus_message_verify_type(message, 'v', type)) == 0)
    {
        return {};
    }
    step(sd_bus_message_enter_container(message, 'v', type));
    auto value = read(message);
    step(sd_bus_message_exit_container(message));
    return value;
}

wexa::core::PropertyValue readListed(sd_bus_message* message, char type)
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

wexa::core::PropertyValue readProperty(sd_bus_message* message)
{
    for (const auto* type : {"i", "x", "u", "t", "s", "b"})
    {
        if (const auto value =
                readInside(message, type, [type](sd_bus_message* inside) {
                    return readListed(inside, *type);
                }))
        {
            return *value;
        }
    }
    step(sd_bus_message_skip(message, "v"));
    return std::int32_t{0};
}

/** Where a key comes again the first value stays. */
template <typename Read>
auto readDictionary(sd_bus_message* message, const std::string& entry,
                    Read readValue)
{
    std::map<std::string, decltype(readValue(message))> entries;
    step(sd_bus_message_enter_container(message, 'a',
                                        ('{' + entry + '}').c_str()));
    while (step(sd_bus_message_at_end(message, 0)) == 0)
    {
        step(sd_bus_message_enter_container(message, 'e', entry.c_str()));
        const auto key = readText(message);
        entries.emplace(key, readValue(message));
        step(sd_bus_message_exit_container(message));
    }
    step(sd_bus_message_exit_container(message));
    return entries;
}

wexa::core::PropertyMap readProperties(sd_bus_message* message)
{
    return readDictionary(message, "sv", readProperty);
}

PlainReader::Device readDevice(sd_bus_message* message)
{
    PlainReader::Device device;
    step(sd_bus_message_enter_container(message, 'r', "ssa{sv}"));
    device.path = readText(message);
    readText(message);
    device.properties = readProperties(message);
    step(sd_bus_message_exit_container(message));
    return device;
}

template <typename Read>
auto readFrom(const test::Message& reply, Read read)
    -> std::optional<decltype(read(reply.get()))>
{
    try
    {
        return reply ? std::optional(read(reply.get())) : std::nullopt;
    }
    catch (const Unreadable&)
    {
        return {};
    }
}

} // namespace

test::Message PlainReader::reply(const std::string& key)
{
    // Of a property the key is the service's name.
    const auto isProperty = key.find('.') != std::string::npos;
    sd_bus_message* reply = nullptr;
    sd_bus_call_method(platform.bus(), isProperty ? key.c_str() : "a.b", "/",
                       "a.b", isProperty ? "Get" : key.c_str(), nullptr, &reply,
                       nullptr);
    return {reply, sd_bus_message_unref};
}

std::optional<bool> PlainReader::boolean(const std::string& key)
{
    return readFrom(reply(key), readBool);
}

std::optional<std::string> PlainReader::text(const std::string& key)
{
    return readFrom(reply(key), readText);
}

std::optional<std::uint16_t> PlainReader::number(const std::string& key)
{
    return readFrom(reply(key), [](sd_bus_message* message) {
        const auto value = readInside(message, "q", [](sd_bus_message* inside) {
            return readNumber<std::uint16_t>(inside, 'q');
        });
        if (!value)
        {
            step(sd_bus_message_skip(message, "v"));
        }
        return value.value_or(0);
    });
}

std::optional<wexa::core::PropertyMap>
PlainReader::properties(const std::string& key)
{
    return readFrom(reply(key), readProperties);
}

std::optional<PlainReader::Registry> PlainReader::registry()
{
    return readFrom(reply("bindedDevices"), [](sd_bus_message* message) {
        return readDictionary(message, "s(ssa{sv})", readDevice);
    });
}

} // namespace fuzz
