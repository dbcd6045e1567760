// SPDX-License-Identifier: Apache-2.0
#include "flash.hpp"

#include "../common/active_flashes.hpp"
#include "../common/dbus_error.hpp"
#include "../common/systemd.hpp"
#include "../common/unit_name.hpp"
#include "flash_log.hpp"
#include "image_guard.hpp"
#include "library.hpp"
#include "library_log.hpp"
#include "progress.hpp"

#include <sdbusplus/exception.hpp>

#include <string_view>

using std::chrono::microseconds;
using std::chrono::steady_clock;

/** Whether a call that failed with this error may still take effect: the
 *  service did not refuse it.
 */
static bool mayHaveTakenEffect(const std::string& dbusError)
{
    return dbusError.empty() || dbusError.starts_with("System.Error.") ||
           dbusError == "org.freedesktop.DBus.Error.Timeout" ||
           dbusError == "org.freedesktop.DBus.Error.NoReply" ||
           dbusError == "org.freedesktop.DBus.Error.Disconnected";
}

static Failure cannotAsk(const std::string& image,
                         const sdbusplus::exception_t& error)
{
    const auto hint = mayHaveTakenEffect(error.name())
                          ? "systemd does not answer: do not cut the power, "
                            "and try again later"
                          : hintFor(error.name());
    return {ExitStatus::callFailed, image + ": the flash was not started",
            Reason{"asking systemd whether the device is being flashed",
                   {},
                   error.name(),
                   hint}};
}

Flash::Flash(sdbusplus::bus_t& bus, const FirmwareKind& kind, Target target,
             std::string unit, const Request& request) :
    bus(bus), kind(kind), target(std::move(target)), unit(std::move(unit)),
    request(request), manager(library().bind(bus)),
    deadline(steady_clock::now() + request.timeout), signals(bus, events())
{}

SystemdEvents Flash::events()
{
    const auto news = [this] { hasNews = true; };
    return {[this](const auto& ofUnit) {
                hasSeenJob = hasSeenJob || ofUnit == unit;
            },
            [this](auto& signal, const auto& ofUnit, const auto& result) {
                jobRemoved(signal, ofUnit, result);
            },
            news,
            [this, news] {
                mayHaveMissedTheEnd = true;
                holdUnit(bus, unit);
                news();
            },
            request.remark};
}

/** The library tells whether it is the end of the flash, as it tells a daemon.
 *  The first outcome counts: a flash that is stopped has a second job, the
 *  stop, which succeeds.
 */
void Flash::jobRemoved(sdbusplus::message_t& signal, const std::string& ofUnit,
                       const std::string& result)
{
    const LibraryLog log(request.verbose);
    const auto outcome = (manager.*kind.stateChanged)(signal);
    hasSeenJob = hasSeenJob || ofUnit == unit;
    if (outcome != 0 && !job)
    {
        job = JobEnd{result, outcome == 1};
        hasNews = true;
    }
}

void Flash::unitChanged(sdbusplus::message_t& signal)
{
    hasNews = hasNews || signals.sent(signal);
}

void Flash::requireIdleDevice()
{
    try
    {
        state = stateOf(bus, unit);
        requireIdle(state);
        // Without the path: the units of all images for this device.
        const auto named = flashUnitName(request.kind, target.component, "");
        const auto beginning = named.substr(0, named.rfind(".service"));
        for (const auto& active : activeFlashes(bus, beginning))
        {
            throw Failure(
                ExitStatus::flashNotRun,
                target.image + ": its device is being flashed already, by " +
                    active,
                "wait for it, or stop it with " +
                    systemd::systemctl(request.bus) + " stop '" + active + "'");
        }
    }
    catch (const sdbusplus::exception_t& error)
    {
        throw cannotAsk(target.image, error);
    }
}

void Flash::requireIdle(const UnitState& state) const
{
    const auto stop = systemd::systemctl(request.bus) + " stop '" + unit + "'";
    if (state.activeState == "active")
    {
        throw Failure(ExitStatus::flashNotRun,
                      target.image + ": its flash unit is still active from an "
                                     "earlier flash, and would not run again",
                      "stop it with " + stop +
                          ", and take RemainAfterExit= out of " +
                          state.fragment);
    }
    if (state.isBusy())
    {
        throw Failure(ExitStatus::flashNotRun,
                      target.image + ": is being flashed already",
                      "wait for it, or stop it with " + stop);
    }
}

void Flash::start()
{
    const auto rule = "type='signal',sender='org.freedesktop.systemd1',path='" +
                      state.path +
                      "',interface='org.freedesktop.DBus.Properties',"
                      "member='PropertiesChanged'";
    changes.emplace(bus, rule, [this](auto& signal) {
        signals.handle([&] { unitChanged(signal); });
    });
    holdUnit(bus, unit);
    // The clock of ExecMainStartTimestampMonotonic.
    launch = {state.invocation,
              std::chrono::duration_cast<microseconds>(
                  steady_clock::now().time_since_epoch()),
              logSizeOf(state)};
    forgetEarlierJobs();
    if (request.interruption())
    {
        throw Failure(ExitStatus::callFailed,
                      target.image + ": the flash was not started", "");
    }
    std::optional<Reason> failure;
    {
        const LibraryLog log(request.verbose);
        if ((manager.*kind.update)(target.image, kind.purpose,
                                   target.component) != 0)
        {
            failure = log.reason();
        }
    }
    if (failure)
    {
        failure->step = "starting the flash unit";
        settleFailedStart(*failure);
    }
}

/** A job that ended before the start says nothing about this flash. */
void Flash::forgetEarlierJobs()
{
    signals.process();
    job.reset();
    hasSeenJob = false;
    hasNews = false;
    mayHaveMissedTheEnd = false;
}

void Flash::settleFailedStart(const Reason& reason)
{
    if (!mayHaveTakenEffect(reason.dbusError) || !runsNow(reason))
    {
        throw Failure(ExitStatus::callFailed,
                      target.image + ": the flash could not be started",
                      reason);
    }
}

/** systemd handles what one connection sends in order: once it answers, it has
 *  handled the start.
 */
bool Flash::runsNow(const Reason& reason)
{
    process();
    while (!hasSeenJob && !signals.systemdIsPresent())
    {
        passTime();
    }
    try
    {
        if (hasSeenJob)
        {
            return true;
        }
        const auto now = stateOf(bus, unit);
        return now.isBusy() || launch.isThatOf(now);
    }
    catch (const sdbusplus::exception_t&)
    {
        requireNoInterruption();
        throw Failure(ExitStatus::mayStillRun,
                      target.image +
                          ": may be flashing: systemd was asked to start it "
                          "and does not answer",
                      Reason{reason.step, {}, reason.dbusError, statusHint()});
    }
}

const UnitState& Flash::awaitEnd()
{
    const auto start = steady_clock::now();
    Progress progress("flashing " + target.image, request.json);
    // Signals may have come while it was started.
    hasNews = true;
    while (!hasEnded())
    {
        progress.show(steady_clock::now() - start);
        passTime();
    }
    return state;
}

/** Looks at the unit once systemd has reported the end of the job or has come
 *  back, and then after each change until the unit has settled.
 */
bool Flash::hasEnded()
{
    process();
    if (!hasNews || (!job && !mayHaveMissedTheEnd) ||
        !signals.systemdIsPresent())
    {
        return false;
    }
    try
    {
        state = stateOf(bus, unit);
        hasNews = false;
    }
    catch (const sdbusplus::exception_t&)
    {
        // It is asked again until the time is up.
        return false;
    }
    if (job && job->isDone && state.activeState == "activating")
    {
        // Another job's end, such as a reload's: the flash still runs.
        job.reset();
    }
    if (!job && !state.isBusy() && !launch.isThatOf(state))
    {
        throw mayStillRun("systemd came back and knows nothing of it");
    }
    return state.isSettled() && !state.hasJob &&
           (job || launch.isThatOf(state));
}

void Flash::requireDone()
{
    try
    {
        requireFlashed(unit, state, job, launch, request.bus);
    }
    catch (const Failure& failure)
    {
        throw Failure(failure.status,
                      target.image + ": " + failure.what() +
                          (isRemoved(target.image)
                               ? "; the image was removed meanwhile"
                               : ""),
                      failure.reason);
    }
    const LibraryLog log(request.verbose);
    (manager.*kind.succeeded)();
}

void Flash::process(sdbusplus::SdBusDuration limit)
{
    try
    {
        signals.process(limit);
    }
    catch (const sdbusplus::exception_t&)
    {
        throw mayStillRun("the bus went away");
    }
}

void Flash::requireNoInterruption() const
{
    if (const auto signal = request.interruption())
    {
        throw Failure(static_cast<ExitStatus>(128 + *signal),
                      target.image + ": interrupted; the flash may still run",
                      statusHint());
    }
}

void Flash::passTime()
{
    constexpr std::chrono::milliseconds slice{100};
    requireNoInterruption();
    if (steady_clock::now() >= deadline)
    {
        throw mayStillRun("it has not ended after " +
                          std::to_string(request.timeout.count()) + " s");
    }
    process(slice);
}

std::string Flash::statusHint() const
{
    return "do not cut the power; see " + systemd::systemctl(request.bus) +
           " status '" + unit + "'";
}

Failure Flash::mayStillRun(const std::string& why) const
{
    return {ExitStatus::mayStillRun, target.image + ": may be flashing: " + why,
            statusHint()};
}
