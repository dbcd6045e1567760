// SPDX-License-Identifier: Apache-2.0
#include "message_cutter.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

namespace bmcsim
{

// A D-Bus message begins with 16 bytes. The last four are the length of the
// fields that follow, filled up to a multiple of eight; bytes four to seven are
// the length of the body after them. A client on this machine writes numbers as
// this machine does.

constexpr std::size_t fixedPart = 16;
constexpr std::uint64_t longest = std::uint64_t{128} << 20;
constexpr char ownOrder =
    std::endian::native == std::endian::little ? 'l' : 'B';
constexpr auto allFiles = std::numeric_limits<std::size_t>::max();

/** 0 where it does not lie within the bytes. */
static std::uint32_t numberAt(std::string_view bytes, std::size_t place)
{
    std::uint32_t number = 0;
    if (place + sizeof(number) <= bytes.size())
    {
        std::memcpy(&number, bytes.data() + place, sizeof(number));
    }
    return number;
}

static std::uint64_t headerSize(std::string_view bytes)
{
    return fixedPart + (std::uint64_t{numberAt(bytes, 12)} + 7) / 8 * 8;
}

static std::uint64_t messageSize(std::string_view bytes)
{
    return headerSize(bytes) + numberAt(bytes, 4);
}

/** Whether the destination is the bus, and how many files there are. */
static std::pair<bool, std::size_t> addressedIn(std::string_view header)
{
    constexpr char destination = 6;
    constexpr char files = 9;
    constexpr std::size_t valueAt = 4;

    std::pair<bool, std::size_t> found{false, 0};
    // A field is its number, the signature of its value, and the value.
    for (std::uint64_t at = fixedPart; at + 8 <= header.size();)
    {
        const auto type = header[at + 2];
        const std::uint64_t number = numberAt(header, at + valueAt);
        const auto isText = type == 's' || type == 'o';
        const std::uint64_t size =
            isText ? 4 + number + 1
            : type == 'g'
                ? static_cast<unsigned char>(header[at + valueAt]) + 2U
                : 4;
        if (isText && header[at] == destination)
        {
            found.first =
                header.substr(at + valueAt + 4,
                              std::min<std::uint64_t>(number, longest)) ==
                "org.freedesktop.DBus";
        }
        if (type == 'u' && header[at] == files)
        {
            found.second = number;
        }
        at += (valueAt + size + 7) / 8 * 8;
    }
    return found;
}

MessageCutter::Message MessageCutter::handshake(std::string_view bytes)
{
    constexpr std::string_view lastWord = "BEGIN\r\n";

    const auto passed = rest.size();
    rest += bytes;
    const auto last = rest.find(lastWord);
    if (last == std::string::npos)
    {
        rest.erase(0, rest.size() - std::min(rest.size(), lastWord.size() - 1));
        return {std::string(bytes), true, 0};
    }
    phase = Phase::messages;
    const auto end = last + lastWord.size();
    Message message{rest.substr(passed, end - passed), true, 0};
    rest.erase(0, end);
    return message;
}

bool MessageCutter::hasMessage()
{
    if (rest.size() < fixedPart)
    {
        return false;
    }
    // No bus takes what is too long, and the end of it may never come.
    if (rest.front() != ownOrder || messageSize(rest) > longest)
    {
        phase = Phase::uncut;
        return false;
    }
    return rest.size() >= messageSize(rest);
}

MessageCutter::Message MessageCutter::next()
{
    const auto size = static_cast<std::size_t>(messageSize(rest));
    const auto [isForBus, files] = addressedIn(std::string_view(rest).substr(
        0, static_cast<std::size_t>(headerSize(rest))));
    Message message{rest.substr(0, size), isForBus, files};
    rest.erase(0, size);
    return message;
}

std::vector<MessageCutter::Message> MessageCutter::cut(std::string_view bytes)
{
    std::vector<Message> messages;
    if (phase == Phase::handshake)
    {
        messages.push_back(handshake(bytes));
    }
    else
    {
        rest += bytes;
    }
    while (phase == Phase::messages && hasMessage())
    {
        messages.push_back(next());
    }
    if (phase == Phase::uncut)
    {
        messages.push_back({std::exchange(rest, {}), false, allFiles});
    }
    return messages;
}

} // namespace bmcsim
