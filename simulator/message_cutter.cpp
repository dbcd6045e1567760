// SPDX-License-Identifier: Apache-2.0
#include "message_cutter.hpp"

#include <cstdint>
#include <cstring>

namespace bmcsim
{

// The header of a D-Bus message: 16 bytes, the last four of which are the
// length of the fields behind them, filled up to a multiple of eight; then the
// body, whose length is in bytes four to seven. A client on this machine writes
// numbers as this machine does.

constexpr std::size_t fixedPart = 16;

static std::size_t numberAt(const std::string& bytes, std::size_t place)
{
    std::uint32_t number = 0;
    std::memcpy(&number, bytes.data() + place, sizeof(number));
    return number;
}

static std::size_t headerSize(const std::string& bytes)
{
    return fixedPart + (numberAt(bytes, 12) + 7) / 8 * 8;
}

/** Whether the field of the destination, a string, names the bus. */
static bool goesToTheBus(const std::string& message)
{
    constexpr std::string_view name("org.freedesktop.DBus", 21);
    constexpr std::string_view destination("\6\1s\0", 4);
    constexpr std::size_t before = 8;

    const auto header =
        std::string_view(message).substr(0, headerSize(message));
    for (auto at = header.find(name); at != std::string_view::npos;
         at = header.find(name, at + 1))
    {
        if (at >= before &&
            header.substr(at - before, destination.size()) == destination)
        {
            return true;
        }
    }
    return false;
}

std::vector<MessageCutter::Message> MessageCutter::cut(std::string_view bytes)
{
    constexpr std::string_view lastWord = "BEGIN\r\n";

    rest += bytes;
    std::vector<Message> messages;
    if (!isThroughHandshake)
    {
        const auto last = rest.find(lastWord);
        isThroughHandshake = last != std::string::npos;
        const auto size =
            isThroughHandshake ? last + lastWord.size() : rest.size();
        messages.push_back({rest.substr(0, size), true});
        rest.erase(0, size);
    }
    while (isThroughHandshake && rest.size() >= fixedPart)
    {
        const auto size = headerSize(rest) + numberAt(rest, 4);
        if (rest.size() < size)
        {
            break;
        }
        messages.push_back({rest.substr(0, size), goesToTheBus(rest)});
        rest.erase(0, size);
    }
    return messages;
}

} // namespace bmcsim
