// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of sdbusplus, for a machine that is no BMC.
#pragma once

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message/append.hpp>
#include <sdbusplus/message/native_types.hpp>
#include <sdbusplus/message/read.hpp>
#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <cstdint>
#include <memory>
#include <type_traits>

namespace sdbusplus
{

namespace message
{

using msgp_t = sd_bus_message*;

namespace details
{

struct MessageUnref
{
    void operator()(msgp_t m) const
    {
        sd_bus_message_unref(m);
    }
};

} // namespace details

/** A reference to a message of sd-bus, or to none. */
class message
{
  public:
    /** Takes a reference of its own. */
    explicit message(msgp_t m = nullptr) : owned(sd_bus_message_ref(m)) {}

    /** Takes the caller's reference over. */
    message(msgp_t m, std::false_type) : owned(m) {}

    message(message&&) = default;
    message& operator=(message&&) = default;

    message(const message& other) : message(other.owned.get()) {}

    message& operator=(const message& other)
    {
        owned.reset(sd_bus_message_ref(other.owned.get()));
        return *this;
    }

    ~message() = default;

    explicit operator bool() const
    {
        return owned != nullptr;
    }

    /** The reference stays with this object. */
    msgp_t get()
    {
        return owned.get();
    }

    /** The reference goes to the caller. */
    msgp_t release()
    {
        return owned.release();
    }

    /** Appends the values in order; what sd-bus refuses is left out, unseen.
     */
    template <typename... Args>
    void append(Args&&... args)
    {
        (details::appendOne(get(), args), ...);
    }

    /** Reads the values in order.
     *
     *  Throws SdBusError with the name of the step that failed; the values
     *  before it have been read.
     */
    template <typename... Args>
    void read(Args&&... args)
    {
        (details::readOne(get(), args), ...);
    }

    const char* get_signature() const
    {
        return sd_bus_message_get_signature(owned.get(), true);
    }

    const char* get_member() const
    {
        return sd_bus_message_get_member(owned.get());
    }

    const char* get_sender() const
    {
        return sd_bus_message_get_sender(owned.get());
    }

  private:
    std::unique_ptr<sd_bus_message, details::MessageUnref> owned;
};

} // namespace message

using message_t = message::message;

} // namespace sdbusplus
