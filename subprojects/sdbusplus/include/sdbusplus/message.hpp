// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message/append.hpp>
#include <sdbusplus/message/native_types.hpp>
#include <sdbusplus/message/read.hpp>
#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

namespace sdbusplus
{

using SdBusDuration = std::chrono::microseconds;

namespace bus
{
struct bus;
}

namespace message
{

using msgp_t = sd_bus_message*;

/** One reference to a D-Bus message. */
class message
{
  public:
    /** Adds a reference to `m`, which may be null. */
    explicit message(msgp_t m = nullptr) : held(sd_bus_message_ref(m)) {}

    /** Takes over the caller's reference. */
    message(msgp_t m, std::false_type) : held(m) {}

    message(const message& other) : message(other.held.get()) {}

    message& operator=(const message& other)
    {
        held.reset(sd_bus_message_ref(other.held.get()));
        return *this;
    }

    message(message&&) = default;
    message& operator=(message&&) = default;
    ~message() = default;

    explicit operator bool() const
    {
        return held != nullptr;
    }

    /** Gives up the reference, which becomes the caller's. */
    msgp_t release()
    {
        return held.release();
    }

    /** Appends values in order, typed by their C++ types. */
    template <typename... Values>
    void append(Values&&... values)
    {
        (details::append(held.get(), values), ...);
    }

    /** Reads values in order, typed by their C++ types.
     *
     *  @throw exception::SdBusError  names the step that failed
     */
    template <typename... Values>
    void read(Values&&... values)
    {
        (details::read(held.get(), values), ...);
    }

    /** The strings below live as long as the message; null where it has
     *  none.
     */
    const char* get_signature() const
    {
        return sd_bus_message_get_signature(held.get(), 1);
    }

    const char* get_path() const
    {
        return sd_bus_message_get_path(held.get());
    }

    const char* get_interface() const
    {
        return sd_bus_message_get_interface(held.get());
    }

    const char* get_member() const
    {
        return sd_bus_message_get_member(held.get());
    }

    const char* get_sender() const
    {
        return sd_bus_message_get_sender(held.get());
    }

    const char* get_destination() const
    {
        return sd_bus_message_get_destination(held.get());
    }

    /** `SD_BUS_MESSAGE_METHOD_CALL` and its siblings. */
    std::uint8_t get_type() const
    {
        std::uint8_t type = 0;
        details::check(sd_bus_message_get_type(held.get(), &type),
                       "sd_bus_message_get_type");
        return type;
    }

    bool is_method_error() const
    {
        return sd_bus_message_is_method_error(held.get(), nullptr) != 0;
    }

    int get_errno() const
    {
        return sd_bus_message_get_errno(held.get());
    }

    bool is_method_call(const char* interface, const char* member) const
    {
        return sd_bus_message_is_method_call(held.get(), interface, member) !=
               0;
    }

    bool is_signal(const char* interface, const char* member) const
    {
        return sd_bus_message_is_signal(held.get(), interface, member) != 0;
    }

    /** An empty reply to this method call. */
    message new_method_return()
    {
        msgp_t reply = nullptr;
        details::check(sd_bus_message_new_method_return(held.get(), &reply),
                       "sd_bus_message_new_method_return");
        return {reply, std::false_type{}};
    }

    /** Sends this reply. */
    void method_return()
    {
        details::check(sd_bus_send(sd_bus_message_get_bus(held.get()),
                                   held.get(), nullptr),
                       "sd_bus_send");
    }

    /** Sends this signal. */
    void signal_send()
    {
        method_return();
    }

    friend struct bus::bus;

  private:
    struct Release
    {
        void operator()(msgp_t m) const
        {
            sd_bus_message_unref(m);
        }
    };

    msgp_t get() const
    {
        return held.get();
    }

    std::unique_ptr<sd_bus_message, Release> held;
};

} // namespace message

using message_t = message::message;

} // namespace sdbusplus
