// SPDX-License-Identifier: Apache-2.0
#include "components.hpp"
#include "connection.hpp"
#include "failure.hpp"
#include "firmware_kind.hpp"
#include "flash_unit.hpp"
#include "image_path.hpp"
#include "job_watch.hpp"
#include "library_log.hpp"
#include "progress.hpp"
#include "verbs.hpp"
#include "verdict.hpp"

#include <sdbusplus/exception.hpp>

#include <iomanip>
#include <iostream>

using std::chrono::steady_clock;
using wexa::core::FWManagerInternal;

namespace
{

/** One flash, from its start to a verdict. */
class Flash
{
  public:
    Flash(sdbusplus::bus::bus& bus, const FirmwareKind& kind, Target target,
          std::string unit, bool verbose) :
        bus(bus),
        kind(kind), target(std::move(target)), unit(std::move(unit)),
        verbose(verbose), manager(bus),
        watch(bus, [this](auto& signal) { return finished(signal); })
    {}

    void start()
    {
        holdUnit(bus, unit);
        const LibraryLog log(verbose);
        if (kind.update(manager, target) != 0 && !isStartedAnyway())
        {
            throw Failure(ExitStatus::callFailed,
                          target.image + ": the flash could not be started: " +
                              log.reason());
        }
    }

    void await(std::chrono::seconds timeout)
    {
        const auto start = steady_clock::now();
        Progress progress("flashing " + target.image);
        const auto show = [&] { progress.show(steady_clock::now() - start); };
        UnitOutcome ended;
        std::optional<int> outcome;
        do
        {
            outcome = watch.wait(start + timeout, show);
            if (!outcome)
            {
                throw Failure(ExitStatus::timeOut,
                              target.image +
                                  ": the flash has not ended after " +
                                  std::to_string(timeout.count()) +
                                  " s and may still run; see systemctl "
                                  "status '" +
                                  unit + "'");
            }
            ended = outcomeOf(bus, unit);
            // A job can be done while the flash still runs: somebody else's.
        } while (*outcome == done && ended.activeState == "activating");

        requireFlashed(unit, jobResult, *outcome == done, ended);
        const LibraryLog log(verbose);
        kind.succeeded(manager);
    }

  private:
    static constexpr int done = 1;

    /** Whether there is a job although the library knows of none. */
    bool isStartedAnyway()
    {
        return kind.mayHideTheJob() && (watch.sawJobFor(unit) || isRunning());
    }

    /** A job that was there before is joined, and not told of as a new one. */
    bool isRunning()
    {
        try
        {
            return outcomeOf(bus, unit).activeState == "activating";
        }
        catch (const sdbusplus::exception::exception&)
        {
            return false;
        }
    }

    int finished(sdbusplus::message::message& signal)
    {
        const LibraryLog log(verbose);
        const auto outcome = kind.stateChanged(manager, signal);
        // The library logs the job's number, path, unit and result.
        jobResult = log.progress().at(3);
        return outcome;
    }

    sdbusplus::bus::bus& bus;
    const FirmwareKind& kind;
    Target target;
    std::string unit;
    bool verbose;
    FWManagerInternal manager;
    std::string jobResult;
    JobWatch watch;
};

} // namespace

void update(const Request& request)
{
    const auto image =
        usableImage(request.image, request.kind->hasComponents());
    const Target target{image, request.component};
    const auto unit = request.kind->flashUnit(target);
    requireFaithfulUnit(image, unit);
    requireFaithfulComponent(request.component);
    auto bus = connectTo(request.bus);
    requireComponent(bus, request);

    const auto start = std::chrono::steady_clock::now();
    Flash flash(bus, *request.kind, target, unit, request.verbose);
    flash.start();
    flash.await(request.timeout);

    const std::chrono::duration<double> took =
        std::chrono::steady_clock::now() - start;
    std::cout << image << ": flashed in " << std::fixed << std::setprecision(1)
              << took.count() << " s\n";
}
