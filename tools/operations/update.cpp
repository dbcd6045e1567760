// SPDX-License-Identifier: Apache-2.0
#include "../common/connection.hpp"
#include "../common/failure.hpp"
#include "../common/unit_name.hpp"
#include "components.hpp"
#include "firmware_kind.hpp"
#include "flash_unit.hpp"
#include "image_path.hpp"
#include "interruption.hpp"
#include "job_watch.hpp"
#include "library_log.hpp"
#include "progress.hpp"
#include "verbs.hpp"
#include "verdict.hpp"

#include <plain.hpp>
#include <sdbusplus/exception.hpp>

#include <iomanip>
#include <sstream>

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
            auto reason = log.reason();
            reason.step = "starting the flash unit";
            throw Failure(ExitStatus::callFailed,
                          target.image + ": the flash could not be started",
                          reason);
        }
    }

    void await(std::chrono::seconds timeout, bool quiet)
    {
        const auto start = steady_clock::now();
        const Interruption interruption;
        Progress progress("flashing " + target.image, quiet);
        const auto tick = [&] {
            requireNoInterruption();
            progress.show(steady_clock::now() - start);
        };
        UnitOutcome ended;
        std::optional<int> outcome;
        do
        {
            outcome = watch.wait(start + timeout, tick);
            if (!outcome)
            {
                throw Failure(ExitStatus::timeOut,
                              target.image +
                                  ": the flash has not ended after " +
                                  std::to_string(timeout.count()) +
                                  " s and may still run",
                              statusHint());
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

    std::string statusHint() const
    {
        return "see systemctl status '" + unit + "'";
    }

    void requireNoInterruption() const
    {
        if (const auto signal = Interruption::signal())
        {
            throw Failure(static_cast<ExitStatus>(128 + *signal),
                          target.image +
                              ": nobody waits for the flash any longer, which "
                              "may still run",
                          statusHint());
        }
    }

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

/** Makes sure that the flash unit will be given this very image.
 *
 *  @param found  shown all the same where it will not
 */
void requireFaithful(const Request& request, const std::string& image,
                     const Result& found)
{
    if (const auto obstacle =
            obstacleOfUpdate(request.kind, request.component, image))
    {
        throw Failure(ExitStatus::wrongUsage, obstacle->what, obstacle->hint,
                      found);
    }
}

/** What would be started. */
Result plan(const Target& target, const std::string& unit)
{
    const auto instance = unescapedInstance(unit);
    const auto comesBack = instance.ends_with(" " + target.image);
    const std::vector<plain::Row> rows{
        {"unit", unit},
        {"length", std::to_string(unit.size()) + " of " +
                       std::to_string(longestUnitName) + " characters"},
        {"systemd",
         isUnitName(unit) ? "can carry this name" : "cannot carry this name"},
        {"instance", instance},
        {"path", comesBack ? "comes back to the unit as it is"
                           : "does not come back to the unit as it is"}};
    return {{{"image", target.image},
             {"unit", unit},
             {"unit_length", unit.size()},
             {"longest_unit_name", longestUnitName},
             {"systemd_can_carry_it", isUnitName(unit)},
             {"instance", instance},
             {"path_comes_back", comesBack},
             {"started", false}},
            plain::table(rows) + "nothing was started\n"};
}

std::string flashedText(const std::string& image,
                        std::chrono::duration<double> took)
{
    std::ostringstream text;
    text << image << ": flashed in " << std::fixed << std::setprecision(1)
         << took.count() << " s\n";
    return text.str();
}

} // namespace

Result update(const Request& request)
{
    const auto& kind = firmwareKindNamed(request.kind);
    const auto image = usableImage(request.image, kind.hasComponents());
    const Target target{image, request.component};
    const auto unit = flashUnitName(request.kind, request.component, image);
    if (request.dryRun)
    {
        auto planned = plan(target, unit);
        requireFaithful(request, image, planned);
        return planned;
    }
    requireFaithful(request, image, {});
    auto bus = connectTo(request.bus);
    requireComponent(bus, request);

    const auto start = steady_clock::now();
    Flash flash(bus, kind, target, unit, request.verbose);
    flash.start();
    nlohmann::json data{{"image", image}, {"unit", unit}, {"started", true}};
    if (!request.wait)
    {
        return {data, image + ": the flash is started, as " + unit + '\n'};
    }
    flash.await(request.timeout, request.json);

    const std::chrono::duration<double> took = steady_clock::now() - start;
    data["seconds"] = took.count();
    return {data, flashedText(image, took)};
}
