// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/failure.hpp"
#include "../common/verbs.hpp"
#include "flash_unit.hpp"
#include "library.hpp"
#include "systemd_signals.hpp"
#include "verdict.hpp"

#include <sdbusplus/bus.hpp>
#include <sdbusplus/bus/match.hpp>

#include <chrono>
#include <optional>
#include <string>

/** One flash, from its start to the end of its unit. */
class Flash
{
  public:
    /** Listens to systemd from now on.
     *
     *  @param request  outlives the object
     *  @throw sdbusplus::exception_t  the bus cannot be asked
     */
    Flash(sdbusplus::bus_t& bus, const FirmwareKind& kind, Target target,
          std::string unit, const Request& request);

    /** Makes sure that the device is not being flashed.
     *
     *  @throw Failure  flashNotRun: it is being flashed, or its unit is still
     *                  active; callFailed: systemd cannot be asked
     */
    void requireIdleDevice();

    /** Has systemd start the unit.
     *
     *  @throw Failure  callFailed: it was not started; mayStillRun: it may
     *                  have been started, and systemd cannot be asked
     *  @throw sdbusplus::exception_t  it was not started: the bus cannot be
     *                                 asked
     */
    void start();

    /** Waits until the unit has ended.
     *
     *  @throw Failure  mayStillRun: it has not ended in time, or systemd
     *                  cannot be asked
     */
    const UnitState& awaitEnd();

    /** Throws unless the flash is done beyond doubt: see verdict.hpp. */
    void requireDone();

  private:
    using Deadline = std::chrono::steady_clock::time_point;

    SystemdEvents events();
    void jobRemoved(sdbusplus::message_t& signal, const std::string& ofUnit,
                    const std::string& result);
    void unitChanged(sdbusplus::message_t& signal);
    void requireIdle(const UnitState& state) const;
    void forgetEarlierJobs();

    /** Tells whether a start that failed for the library took place. */
    void settleFailedStart(const Reason& reason);
    bool runsNow(const Reason& reason);

    /** Handles signals; waits a moment where none has come.
     *
     *  @throw Failure  an interruption, the time is up, or the bus went away
     */
    void passTime();
    void requireNoInterruption() const;
    void process(sdbusplus::SdBusDuration limit = {});
    bool hasEnded();

    std::string statusHint() const;
    Failure mayStillRun(const std::string& why) const;

    sdbusplus::bus_t& bus;
    const FirmwareKind& kind;
    Target target;
    std::string unit;
    const Request& request;
    FirmwareKind::Manager manager;
    Deadline deadline;
    Launch launch;
    UnitState state;
    std::optional<JobEnd> job;
    bool hasSeenJob = false;
    /** Whether something was heard since the unit was looked at. */
    bool hasNews = false;
    /** Whether systemd was away, and signals may have been missed. */
    bool mayHaveMissedTheEnd = false;
    SystemdSignals signals;
    std::optional<sdbusplus::bus::match_t> changes;
};
