// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of sdbusplus, for a machine that is no BMC.
#pragma once

#include <sdbusplus/details/checked.hpp>
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

    const char* get_path() const
    {
        return sd_bus_message_get_path(owned.get());
    }

    const char* get_interface() const
    {
        return sd_bus_message_get_interface(owned.get());
    }

    const char* get_member() const
    {
        return sd_bus_message_get_member(owned.get());
    }

    const char* get_destination() const
    {
        return sd_bus_message_get_destination(owned.get());
    }

    const char* get_sender() const
    {
        return sd_bus_message_get_sender(owned.get());
    }

    /** One of SD_BUS_MESSAGE_METHOD_CALL and its like. */
    uint8_t get_type() const
    {
        uint8_t type = 0;
        checked(sd_bus_message_get_type(owned.get(), &type),
                "sd_bus_message_get_type");
        return type;
    }

    /** Positive errno of an error reply, 0 of everything else. */
    int get_errno() const
    {
        return sd_bus_message_get_errno(owned.get());
    }

    /** Error of an error reply; it stays with the message. */
    const sd_bus_error* get_error() const
    {
        return sd_bus_message_get_error(owned.get());
    }

    bool is_method_error() const
    {
        return sd_bus_message_is_method_error(owned.get(), nullptr);
    }

    bool is_method_call(const char* interface, const char* method) const
    {
        return sd_bus_message_is_method_call(owned.get(), interface, method);
    }

    bool is_signal(const char* interface, const char* member) const
    {
        return sd_bus_message_is_signal(owned.get(), interface, member);
    }

    message new_method_return()
    {
        msgp_t reply = nullptr;
        checked(sd_bus_message_new_method_return(get(), &reply),
                "sd_bus_message_new_method_return");
        return message(reply, std::false_type());
    }

    /** @param error positive errno
     *  @param e takes precedence over error where it is not null */
    message new_method_errno(int error, const sd_bus_error* e = nullptr)
    {
        msgp_t reply = nullptr;
        checked(sd_bus_message_new_method_errno(get(), &reply, error, e),
                "sd_bus_message_new_method_errno");
        return message(reply, std::false_type());
    }

    /** Sends this reply over the connection it belongs to. */
    void method_return()
    {
        checked(sd_bus_send(sd_bus_message_get_bus(get()), get(), nullptr),
                "sd_bus_send");
    }

    /** Sends this signal over the connection it belongs to. */
    void signal_send()
    {
        method_return();
    }

  private:
    static constexpr auto checked = sdbusplus::details::checked;

    std::unique_ptr<sd_bus_message, details::MessageUnref> owned;
};

} // namespace message

using message_t = message::message;

} // namespace sdbusplus
