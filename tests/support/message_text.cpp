// SPDX-License-Identifier: Apache-2.0
#include "message_text.hpp"

#include "private_bus.hpp"

#include <cstdint>
#include <stdexcept>

namespace test
{

static std::string valueText(sd_bus_message* message);

static std::string quoted(sd_bus_message* message, char type)
{
    const char* text = nullptr;
    check(sd_bus_message_read_basic(message, type, &text), "read text");
    return '"' + std::string(text) + '"';
}

static std::string number(sd_bus_message* message, char type)
{
    std::uint32_t value = 0;
    check(sd_bus_message_read_basic(message, type, &value), "read number");
    return std::to_string(value);
}

static std::string variant(sd_bus_message* message, const char* contents)
{
    check(sd_bus_message_enter_container(message, 'v', contents), "enter");
    auto text = '<' + std::string(contents) + ": " + valueText(message) + '>';
    check(sd_bus_message_exit_container(message), "exit");
    return text;
}

static std::string valueText(sd_bus_message* message)
{
    char type = 0;
    const char* contents = nullptr;
    check(sd_bus_message_peek_type(message, &type, &contents), "peek");
    switch (type)
    {
        case 's':
        case 'o':
            return quoted(message, type);
        case 'b':
        case 'u':
            return number(message, type);
        case 'v':
            return variant(message, contents);
        default:
            throw std::logic_error(std::string("no text for type ") + type);
    }
}

static std::string nameText(const char* name)
{
    return name == nullptr ? "-" : name;
}

std::string callText(sd_bus_message* call)
{
    auto text = nameText(sd_bus_message_get_destination(call)) + ' ' +
                nameText(sd_bus_message_get_path(call)) + ' ' +
                nameText(sd_bus_message_get_interface(call)) + '.' +
                nameText(sd_bus_message_get_member(call)) + '(' +
                sd_bus_message_get_signature(call, 1) + ')';
    while (sd_bus_message_at_end(call, 1) == 0)
    {
        text += ' ' + valueText(call);
    }
    check(sd_bus_message_rewind(call, 1), "rewind");
    return text;
}

} // namespace test
