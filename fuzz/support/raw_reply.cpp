// SPDX-License-Identifier: Apache-2.0
#include "raw_reply.hpp"

#include <sys/socket.h>

#include <array>
#include <utility>

// The wire format: a fixed header, an array of header fields, the body.

namespace fuzz
{

namespace
{

class Writer
{
  public:
    explicit Writer(bool bigEndian) : bigEndian(bigEndian) {}

    void align(std::size_t boundary)
    {
        bytes.resize((bytes.size() + boundary - 1) / boundary * boundary);
    }

    void number(std::size_t value)
    {
        align(4);
        bytes += encoded(value);
    }

    void replace(std::size_t at, std::size_t value)
    {
        bytes.replace(at, 4, encoded(value));
    }

    /** A header field that holds one value of a basic type. */
    void field(char code, char type)
    {
        align(8);
        bytes += {code, 1, type, 0};
    }

    std::string bytes;

  private:
    std::string encoded(std::size_t value) const
    {
        std::string four(4, '\0');
        for (std::size_t i = 0; i < four.size(); ++i)
        {
            four[bigEndian ? 3 - i : i] = static_cast<char>(value >> 8 * i);
        }
        return four;
    }

    bool bigEndian;
};

std::string wire(const RawMessage& message, std::uint64_t inReplyTo)
{
    constexpr std::string_view errorName = "test.Error";
    const std::array kinds{SD_BUS_MESSAGE_METHOD_RETURN,
                           SD_BUS_MESSAGE_METHOD_ERROR};
    Writer writer(message.bigEndian);
    writer.bytes = {message.bigEndian ? 'B' : 'l',
                    static_cast<char>(kinds[message.isError ? 1 : 0]), 1, 1};
    writer.number(message.body.size());
    writer.number(1'000'000 + inReplyTo);
    writer.number(0);
    const auto fields = writer.bytes.size();

    writer.field(5, 'u');
    writer.number(inReplyTo);
    if (message.isError)
    {
        writer.field(4, 's');
        writer.number(errorName.size());
        writer.bytes.append(errorName) += '\0';
    }
    writer.field(8, 'g');
    writer.bytes += static_cast<char>(message.signature.size());
    writer.bytes.append(message.signature) += '\0';

    writer.replace(fields - 4, writer.bytes.size() - fields);
    writer.align(8);
    return writer.bytes + message.body;
}

void send(sd_bus_message* call, const std::string& bytes)
{
    auto* const connection = sd_bus_message_get_bus(call);
    test::check(sd_bus_flush(connection), "flush");
    const auto sent = ::send(sd_bus_get_fd(connection), bytes.data(),
                             bytes.size(), MSG_NOSIGNAL);
    test::check(std::cmp_equal(sent, bytes.size()) ? 0 : -EIO, "send");
}

} // namespace

test::Reply rawReply(RawMessage message)
{
    return [message](sd_bus_message* call) {
        std::uint64_t cookie = 0;
        test::check(sd_bus_message_get_cookie(call, &cookie), "cookie");
        send(call, wire(message, cookie));
        test::reply::error("test.Error.Dropped", "It was dropped.")(call);
    };
}

test::Reply junk(std::string bytes)
{
    return [bytes](sd_bus_message* call) {
        send(call, bytes);
        test::reply::hangUp()(call);
    };
}

} // namespace fuzz
