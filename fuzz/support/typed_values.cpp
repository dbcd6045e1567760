// SPDX-License-Identifier: Apache-2.0
#include "typed_values.hpp"

#include "../../tests/support/private_bus.hpp"

namespace fuzz
{

static std::string basicType(Input& input)
{
    constexpr std::string_view codes = "sbiuxtqydnog";
    return std::string(1, input.pick(codes));
}

std::string anyType(Input& input, int depth)
{
    constexpr int deepest = 6;
    switch (depth < deepest ? input.below(16) : 0)
    {
        case 1:
        case 2:
        case 3:
            return "v";
        case 4:
            return "a" + anyType(input, depth + 1);
        case 5:
            return "a{" + basicType(input) + anyType(input, depth + 1) + '}';
        case 6:
            return '(' + anyType(input, depth + 1) +
                   (input.flag() ? anyType(input, depth + 1) : "") + ')';
        case 7:
            return "a{sv}";
        default:
            return basicType(input);
    }
}

/** The length of the complete type that `types` begins with. */
static std::size_t lengthOfType(std::string_view types)
{
    if (types.front() == 'a')
    {
        return 1 + lengthOfType(types.substr(1));
    }
    int open = 0;
    std::size_t length = 0;
    do
    {
        open += types[length] == '(' || types[length] == '{' ? 1 : 0;
        open -= types[length] == ')' || types[length] == '}' ? 1 : 0;
        ++length;
    } while (open != 0);
    return length;
}

static void appendBasic(Input& input, sd_bus_message* message, char type)
{
    const auto append = [&](const void* value) {
        test::check(sd_bus_message_append_basic(message, type, value),
                    "append");
    };
    switch (type)
    {
        case 's':
            return append(input.text().c_str());
        case 'o':
            return append(input.objectPath().c_str());
        case 'g':
            return append(anyType(input).c_str());
        case 'b':
        {
            // An input that is used up has services agree.
            const int value = input.flag() ? 0 : 1;
            return append(&value);
        }
        default:
        {
            // As wide as the widest; of the narrower the first bytes count.
            const auto value = input.number<std::uint64_t>();
            return append(&value);
        }
    }
}

static void appendInside(Input& input, sd_bus_message* message, char container,
                         const std::string& contents, std::size_t times)
{
    test::check(
        sd_bus_message_open_container(message, container, contents.c_str()),
        "open");
    while (times-- > 0)
    {
        appendValues(input, message, contents);
    }
    test::check(sd_bus_message_close_container(message), "close");
}

static void appendValue(Input& input, sd_bus_message* message,
                        std::string_view type)
{
    const std::string inside{type.substr(1, type.size() - 1)};
    switch (type.front())
    {
        case 'a':
            return appendInside(input, message, 'a', inside, input.below(5));
        case '(':
            return appendInside(input, message, 'r',
                                inside.substr(0, inside.size() - 1), 1);
        case '{':
            return appendInside(input, message, 'e',
                                inside.substr(0, inside.size() - 1), 1);
        case 'v':
            return appendInside(input, message, 'v', anyType(input), 1);
        default:
            return appendBasic(input, message, type.front());
    }
}

void appendValues(Input& input, sd_bus_message* message, std::string_view types)
{
    while (!types.empty())
    {
        const auto length = lengthOfType(types);
        appendValue(input, message, types.substr(0, length));
        types.remove_prefix(length);
    }
}

} // namespace fuzz
