// SPDX-License-Identifier: Apache-2.0
#include "answers.hpp"

#include "raw_reply.hpp"
#include "typed_values.hpp"

#include <array>
#include <utility>

namespace fuzz
{

using namespace std::string_literals;

struct Service
{
    const char* key;
    const char* types;
};

/** A variant's value has the type that follows "v". */
static constexpr std::array services{
    Service{"verifyBmc", "b"},
    Service{"verifyBios", "b"},
    Service{"verifyCapsule", "b"},
    Service{"verifyCPLD", "b"},
    Service{"StartUnit", "o"},
    Service{"com.WEXA.Host", "vq"},
    Service{"xyz.openbmc_project.Settings", "vs"},
    Service{"Set", ""},
    Service{"bindedDevices", "a{s(ssa{sv})}"},
    Service{"readImageFileInfo", "a{sv}"},
    Service{"readMBVersionString", "s"},
};

static void appendVariant(Input& input, sd_bus_message* message,
                          const char* type)
{
    test::check(sd_bus_message_open_container(message, 'v', type), "open");
    appendValues(input, message, type);
    test::check(sd_bus_message_close_container(message), "close");
}

/** The bytes that decide the value are kept: it is built for each call. */
Answer typedAnswer(Input& input, const std::string& types)
{
    return {test::reply::built(
        [types, bytes = input.anyBytes()](sd_bus_message* reply) {
            Input content{bytes};
            if (types.size() > 1 && types.front() == 'v')
            {
                return appendVariant(content, reply, types.c_str() + 1);
            }
            appendValues(content, reply, types);
        })};
}

Answer soundAnswer(Input& input, const std::string& key)
{
    for (const auto& service : services)
    {
        if (service.key == key)
        {
            return typedAnswer(input, service.types);
        }
    }
    std::abort();
}

static Answer errorAnswer(Input& input)
{
    constexpr std::array names{"org.freedesktop.DBus.Error.NoReply",
                               "System.Error.ENOENT",
                               "org.freedesktop.systemd1.NoSuchUnit", "a.b"};
    const auto* const name = input.pick(names);
    return {test::reply::error(name, input.text())};
}

Answer oddAnswer(Input& input)
{
    switch (input.below(8))
    {
        case 0:
            return {test::reply::nothing()};
        case 1:
            return {test::reply::silence(), true};
        case 2:
            return {test::reply::hangUp()};
        case 3:
        case 4:
            return errorAnswer(input);
        case 5:
            return typedAnswer(input, input.pick(services).types);
        default:
        {
            auto types = anyType(input);
            return typedAnswer(input,
                               types + (input.flag() ? anyType(input) : ""));
        }
    }
}

Answer anyAnswer(Input& input, const std::string& key)
{
    return input.below(4) == 3 ? oddAnswer(input) : soundAnswer(input, key);
}

Answers anyAnswers(Input& input)
{
    Answers answers;
    for (const auto& service : services)
    {
        if (input.below(16) != 1)
        {
            answers[service.key] = anyAnswer(input, service.key);
        }
    }
    return answers;
}

Answer rawAnswer(Input& input)
{
    constexpr std::array likely{"b",     "v",    "s", "a{s(ssa{sv})}",
                                "a{sv}", "uoss", "o", ""};
    const auto how = input.number<std::uint8_t>();
    if (how % 16 == 15)
    {
        return {junk(input.rest())};
    }
    RawMessage message;
    message.bigEndian = (how & 0x40) != 0;
    message.isError = (how & 0x80) != 0;
    message.signature = how % 2 == 0 ? input.pick(likely) : input.anyBytes();
    message.body = input.rest();
    return {rawReply(std::move(message))};
}

} // namespace fuzz
