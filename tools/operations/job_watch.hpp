// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>
#include <sdbusplus/bus/match.hpp>

#include <chrono>
#include <exception>
#include <functional>
#include <optional>
#include <set>
#include <string>

/** Hears of finished systemd jobs from before the first one is started. */
class JobWatch
{
  public:
    /** Tells what a JobRemoved signal means; 0 is another's job. */
    using Handler = std::function<int(sdbusplus::message::message&)>;

    /** @param handle  called with each signal until one is not another's */
    JobWatch(sdbusplus::bus::bus& bus, Handler handle);

    /** Whether systemd has told of a new job for a unit. */
    bool sawJobFor(const std::string& unit);

    /** Waits for the next outcome that is ours.
     *
     *  @param tick  called now and then
     *  @return the outcome; nothing when time is up
     *  @throw Failure  systemd or the bus went away
     */
    std::optional<int> wait(std::chrono::steady_clock::time_point deadline,
                            const std::function<void()>& tick);

  private:
    void subscribe();
    void processAll();
    void jobNew(sdbusplus::message::message& signal);
    void jobRemoved(sdbusplus::message::message& signal);
    void nameOwnerChanged(sdbusplus::message::message& signal);

    sdbusplus::bus::bus& bus;
    Handler handle;
    std::set<std::string> started;
    std::optional<int> outcome;
    std::exception_ptr failure;
    bool systemdIsGone = false;
    sdbusplus::bus::match::match newJobs;
    sdbusplus::bus::match::match jobs;
    sdbusplus::bus::match::match owners;
};
