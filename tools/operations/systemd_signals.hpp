// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "name_owner.hpp"

#include <sdbusplus/bus.hpp>
#include <sdbusplus/bus/match.hpp>
#include <sdbusplus/message.hpp>

#include <functional>
#include <memory>
#include <string>

/** What systemd tells of its jobs, and when it leaves and comes back. */
struct SystemdEvents
{
    using Text = const std::string&;

    std::function<void(Text unit)> jobNew;
    /** @param signal  not yet read */
    std::function<void(sdbusplus::message_t& signal, Text unit, Text result)>
        jobRemoved;
    std::function<void()> left;
    std::function<void()> came;
    /** Shows why a signal is not believed. */
    NameOwner::Remark remark;
};

/** Receives systemd's signals, and believes only those that come from the
 *  connection that owns systemd's name.
 *
 *  The handlers run while the connection is processed. What one of them throws
 *  leaves `process`.
 */
class SystemdSignals
{
  public:
    /** Has systemd send its signals; where it is absent, once it comes.
     *
     *  @throw sdbusplus::exception_t  the bus cannot be asked
     */
    SystemdSignals(sdbusplus::bus_t& bus, SystemdEvents events);

    SystemdSignals(const SystemdSignals&) = delete;
    SystemdSignals& operator=(const SystemdSignals&) = delete;

    bool systemdIsPresent() const
    {
        return owner->isPresent();
    }

    /** Whether systemd sent this signal; a remark where it did not. */
    bool sent(sdbusplus::message_t& signal) const
    {
        return owner->sent(signal);
    }

    /** Waits for messages, and handles those that have come, up to a number: a
     *  flood of messages does not hold up the caller.
     *
     *  @param limit  how long it waits where none has come
     *  @throw sdbusplus::exception_t  the bus went away
     */
    void process(sdbusplus::SdBusDuration limit = {});

    /** Runs what handles a signal. Exceptions must not cross the C of sd-bus:
     *  they are kept until `process` can throw them.
     */
    void handle(const std::function<void()>& handler);

  private:
    void ownerChanged();
    void subscribe();
    void jobNew(sdbusplus::message_t& signal);
    void jobRemoved(sdbusplus::message_t& signal);

    sdbusplus::bus_t& bus;
    SystemdEvents events;
    std::exception_ptr thrown;
    std::unique_ptr<NameOwner> owner;
    sdbusplus::bus::match_t newJobs;
    sdbusplus::bus::match_t endedJobs;
};
