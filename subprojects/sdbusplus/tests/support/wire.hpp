// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/message.hpp>
#include <systemd/sd-bus.h>

#include <concepts>
#include <cstdint>
#include <string>
#include <vector>

namespace support
{

using Bytes = std::vector<uint8_t>;

/** A connection of sd-bus whose other end is held by the test: no daemon, and
 *  messages that no honest peer would send. */
class Wire
{
  public:
    Wire();
    ~Wire();
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    /** The connection; the reference stays with this object. */
    sd_bus* bus()
    {
        return connection;
    }

    /** Drops this object's reference; messages and handles may hold more. */
    void dropBus();

    /** Whether the last reference to the connection is gone. */
    bool busIsGone() const
    {
        return gone;
    }

    /** A signal that can still be appended to. */
    sdbusplus::message_t open();

    /** A signal filled by fill(sd_bus_message*), ready to be read. */
    template <std::invocable<sd_bus_message*> Fill>
    sdbusplus::message_t sealed(Fill fill)
    {
        auto m = open();
        fill(m.get());
        return seal(std::move(m));
    }

    /** m, ready to be read. */
    static sdbusplus::message_t seal(sdbusplus::message_t m);

    /** A signal as it arrives from the other end: signature and body are taken
     *  as they are, right or wrong. */
    sdbusplus::message_t received(const std::string& signature,
                                  const Bytes& body);

  private:
    void send(const Bytes& bytes);

    sd_bus* connection = nullptr;
    int otherEnd = -1;
    bool gone = false;
};

/** What a message holds next, read into `value`. */
template <typename T>
T read(sdbusplus::message_t m, T value = {})
{
    m.read(value);
    return value;
}

} // namespace support
