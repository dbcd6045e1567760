// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "value.hpp"

namespace bmcsim::dbus
{

/** A message, shared by its copies. */
class Message
{
  public:
    /** Takes the caller's reference over. */
    explicit Message(sd_bus_message* message) : message(message) {}

    Message(const Message& other) : message(sd_bus_message_ref(other.message))
    {}

    Message(Message&& other) noexcept :
        message(std::exchange(other.message, nullptr))
    {}

    Message& operator=(Message other) noexcept
    {
        std::swap(message, other.message);
        return *this;
    }

    ~Message()
    {
        sd_bus_message_unref(message);
    }

    sd_bus_message* get() const
    {
        return message;
    }

    template <typename... Values>
    void append(const Values&... values)
    {
        (dbus::append(message, values), ...);
    }

    template <typename Value>
    Value read()
    {
        return dbus::read<Value>(message);
    }

    void send() const
    {
        require(sd_bus_send(nullptr, message, nullptr),
                "cannot send a message");
    }

    /** As `send`, of a call: no answer is expected. */
    void sendWithoutAnswer() const
    {
        require(sd_bus_message_set_expect_reply(message, 0),
                "cannot send a message");
        send();
    }

  private:
    sd_bus_message* message;
};

/** A method call that this program got. It is answered once, at once or later
 *  from a copy, or never.
 */
class Call : public Message
{
  public:
    using Message::Message;

    std::string member() const
    {
        return sd_bus_message_get_member(get());
    }

    /** The unique name of the caller. */
    std::string sender() const
    {
        const auto* const name = sd_bus_message_get_sender(get());
        return name == nullptr ? "" : name;
    }

    /** An answer to be filled and sent. */
    Message answer() const
    {
        sd_bus_message* made = nullptr;
        require(sd_bus_message_new_method_return(get(), &made),
                "cannot make an answer");
        return Message(made);
    }

    template <typename... Values>
    void reply(const Values&... values) const
    {
        auto message = answer();
        message.append(values...);
        message.send();
    }
};

} // namespace bmcsim::dbus
