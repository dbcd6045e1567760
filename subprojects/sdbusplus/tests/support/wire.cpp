// SPDX-License-Identifier: Apache-2.0
#include "wire.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <utility>

namespace support
{

namespace
{

void must(int result, const char* what)
{
    if (result < 0)
    {
        throw std::runtime_error(std::string("test set-up: ") + what);
    }
}

/** Writes the alignments and lengths of the wire format. */
struct Writer
{
    Bytes bytes;

    void align(size_t boundary)
    {
        bytes.resize((bytes.size() + boundary - 1) / boundary * boundary);
    }

    void number(uint32_t value)
    {
        align(4);
        bytes.resize(bytes.size() + 4);
        overwrite(bytes.size() - 4, value);
    }

    void overwrite(size_t at, uint32_t value)
    {
        for (size_t byte = 0; byte < 4; ++byte)
        {
            bytes[at + byte] = static_cast<uint8_t>(value >> 8 * byte);
        }
    }

    void letters(std::string_view text)
    {
        bytes.insert(bytes.end(), text.begin(), text.end());
        bytes.push_back(0);
    }

    void field(uint8_t code, char type, std::string_view text)
    {
        align(8);
        bytes.insert(bytes.end(), {code, 1, static_cast<uint8_t>(type), 0});
        if (type == 'g')
        {
            bytes.push_back(static_cast<uint8_t>(text.size()));
        }
        else
        {
            number(static_cast<uint32_t>(text.size()));
        }
        letters(text);
    }
};

Bytes signal(const std::string& signature, const Bytes& body)
{
    Writer writer;
    writer.bytes = {'l', SD_BUS_MESSAGE_SIGNAL, 0, 1}; // little-endian
    writer.number(static_cast<uint32_t>(body.size()));
    writer.number(1); // serial
    const auto lengthAt = writer.bytes.size();
    writer.number(0);
    const auto fieldsAt = writer.bytes.size();
    writer.field(1, 'o', "/object");
    writer.field(2, 's', "an.Interface");
    writer.field(3, 's', "Member");
    writer.field(8, 'g', signature);
    writer.overwrite(lengthAt,
                     static_cast<uint32_t>(writer.bytes.size() - fieldsAt));
    writer.align(8);
    writer.bytes.insert(writer.bytes.end(), body.begin(), body.end());
    return writer.bytes;
}

} // namespace

Wire::Wire()
{
    int ends[2];
    must(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0,
                    ends),
         "socketpair");
    otherEnd = ends[1];
    must(sd_bus_new(&connection), "new");
    must(sd_bus_set_fd(connection, ends[0], ends[0]), "set_fd");
    must(sd_bus_start(connection), "start");

    sd_bus_slot* slot = nullptr;
    auto nothing = [](sd_bus_message*, void*, sd_bus_error*) { return 0; };
    must(sd_bus_add_filter(connection, &slot, nothing, &gone), "add_filter");
    must(sd_bus_slot_set_destroy_callback(
             slot, [](void* flag) { *static_cast<bool*>(flag) = true; }),
         "set_destroy_callback");
    must(sd_bus_slot_set_floating(slot, 1), "set_floating");
    sd_bus_slot_unref(slot);
}

Wire::~Wire()
{
    dropBus();
    close(otherEnd);
}

void Wire::dropBus()
{
    sd_bus_unref(std::exchange(connection, nullptr));
}

sdbusplus::message_t Wire::open()
{
    sd_bus_message* m = nullptr;
    must(sd_bus_message_new_signal(connection, &m, "/object", "an.Interface",
                                   "Member"),
         "new_signal");
    return sdbusplus::message_t(m, std::false_type());
}

sdbusplus::message_t Wire::seal(sdbusplus::message_t m)
{
    must(sd_bus_message_seal(m.get(), 1, 0), "seal");
    return m;
}

sdbusplus::message_t Wire::received(const std::string& signature,
                                    const Bytes& body)
{
    const std::string_view welcome =
        "DATA\r\nOK 0123456789abcdef0123456789abcdef\r\nAGREE_UNIX_FD\r\n";
    send(Bytes(welcome.begin(), welcome.end()));
    send(signal(signature, body));
    sd_bus_message* m = nullptr;
    for (int step = 0; m == nullptr && step < 10; ++step)
    {
        must(sd_bus_process(connection, &m), "process");
    }
    must(m == nullptr ? -1 : 0, "no message arrived");
    return sdbusplus::message_t(m, std::false_type());
}

void Wire::send(const Bytes& bytes)
{
    const auto sent = write(otherEnd, bytes.data(), bytes.size());
    must(std::cmp_equal(sent, bytes.size()) ? 0 : -1, "write");
}

} // namespace support
