// SPDX-License-Identifier: Apache-2.0
#include "../../simulator/message_cutter.hpp"
#include "../../simulator/relayed_connection.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <array>
#include <cstdint>

// What the relay does with the bytes of a unit manager.

using namespace bmcsim;
using testing::ElementsAre;

namespace
{

using std::chrono::milliseconds;

std::string number(std::uint32_t value)
{
    return {reinterpret_cast<const char*>(&value), sizeof(value)};
}

/** A message without fields, with a body of this length. */
std::string messageOf(std::uint32_t bodySize)
{
    constexpr std::uint16_t one = 1;
    const auto order = *reinterpret_cast<const char*>(&one) == 1 ? 'l' : 'B';
    return order + std::string("\1\0\1", 3) + number(bodySize) + number(1) +
           number(0);
}

std::vector<std::string> textsOf(const std::vector<MessageCutter::Message>& all)
{
    std::vector<std::string> texts;
    for (const auto& message : all)
    {
        texts.push_back(message.bytes);
    }
    return texts;
}

TEST(MessageCutter, FindsTheEndOfAHandshakeThatComesInParts)
{
    MessageCutter cutter(MessageCutter::Phase::handshake);
    const auto message = messageOf(0);

    EXPECT_THAT(textsOf(cutter.cut("AUTH\r\nBEG")), ElementsAre("AUTH\r\nBEG"));
    EXPECT_THAT(textsOf(cutter.cut("IN\r\n" + message)),
                ElementsAre("IN\r\n", message));
}

TEST(MessageCutter, PassesOnAsTheyComeTheBytesOfAMessageThatIsTooLong)
{
    MessageCutter cutter(MessageCutter::Phase::messages);
    const auto tooLong = messageOf(128 * 1024 * 1024);

    EXPECT_THAT(textsOf(cutter.cut(tooLong)), ElementsAre(tooLong));
    EXPECT_THAT(textsOf(cutter.cut("body")), ElementsAre("body"));
}

TEST(RelayedStream, SendsWhatIsLateAlsoWhereItsSourceHasClosed)
{
    std::array<int, 2> source{};
    std::array<int, 2> target{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, source.data()), 0);
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, target.data()), 0);
    RelayedConnection relay(source[1], target[1]);
    const auto said = "BEGIN\r\n" + messageOf(0);
    ASSERT_EQ(write(source[0], said.data(), said.size()), std::ssize(said));
    close(source[0]);

    EXPECT_EQ(relay.serve(std::chrono::hours(1)), true);
    EXPECT_EQ(relay.serve(milliseconds(0)), false);

    std::array<char, 64> got{};
    const auto size = recv(target[0], got.data(), got.size(), MSG_DONTWAIT);
    close(target[0]);
    EXPECT_EQ(size, std::ssize(said));
}

} // namespace
