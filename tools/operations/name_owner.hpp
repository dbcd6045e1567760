// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>
#include <sdbusplus/bus/match.hpp>
#include <sdbusplus/message.hpp>

#include <functional>
#include <string>

/** The connection that owns a well-known name now.
 *
 *  A signal that is sent to one connection passes every match rule there, so
 *  any local user can send one in another's name. Only the unique name of its
 *  sender, which the bus writes, tells who sent it.
 */
class NameOwner
{
  public:
    /** Called when the name has another owner. */
    using Changed = std::function<void()>;
    /** Shows why a signal is not believed. */
    using Remark = std::function<void(const std::string&)>;

    /** @throw sdbusplus::exception_t  the bus cannot be asked */
    NameOwner(sdbusplus::bus_t& bus, std::string name, Changed changed,
              Remark remark);

    NameOwner(const NameOwner&) = delete;
    NameOwner& operator=(const NameOwner&) = delete;

    /** Whether the name is owned. */
    bool isPresent() const
    {
        return !owner.empty();
    }

    /** Whether the owner sent this signal; a remark where it did not. */
    bool sent(sdbusplus::message_t& signal) const;

  private:
    void ask();
    void heard(sdbusplus::message_t& signal);
    void nameOwnerChanged(sdbusplus::message_t& signal);

    sdbusplus::bus_t& bus;
    std::string name;
    std::string owner;
    Changed changed;
    Remark remark;
    sdbusplus::bus::match_t changes;
};
