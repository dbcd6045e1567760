// SPDX-License-Identifier: Apache-2.0
#include "../common/connection.hpp"
#include "../common/failure.hpp"
#include "../common/kind.hpp"
#include "../common/object_path.hpp"
#include "../common/patience.hpp"
#include "../common/systemd.hpp"
#include "../common/unit_name.hpp"
#include "../common/verbs.hpp"
#include "flash_unit.hpp"
#include "iso_time.hpp"
#include "library.hpp"
#include "systemd_signals.hpp"
#include "verdict.hpp"

#include <plain.hpp>
#include <sdbusplus/bus/match.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <set>

using nlohmann::json;
using sdbusplus::message_t;

namespace
{

/** What a flash unit flashes; null for any other unit. */
const Kind* kindOf(const std::string& unit)
{
    const auto& all = allKinds();
    const auto found = std::ranges::find_if(all, [&](const auto& kind) {
        return unit.starts_with(kind.unitPrefix + kind.unitWords);
    });
    return found == all.end() ? nullptr : &*found;
}

/** Shows what systemd and the CPLD update manager say. */
class Monitor
{
  public:
    Monitor(sdbusplus::bus_t& bus, const Request& request) :
        bus(bus), request(request), signals(bus, events()),
        cplds(
            bus, "xyz.openbmc_project.CpldUpdateMgrSvc", [] {}, request.remark),
        notifications(
            bus, (library().bind(bus).*library().notificationRule)(),
            [this](auto& signal) { signals.handle([&] { notified(signal); }); })
    {
        if (!signals.systemdIsPresent())
        {
            tell("systemd_absent", {}, "systemd is not on the bus");
        }
        holdUnitsOfRunningJobs();
    }

    /** Until it is stopped. */
    void run()
    {
        constexpr std::chrono::milliseconds slice{100};
        tell("listening", {}, "listening; Ctrl-C ends it");
        while (!request.interruption())
        {
            signals.process(slice);
            showEndedJobs();
        }
    }

  private:
    struct EndedJob
    {
        std::string unit;
        std::string result;
    };

    SystemdEvents events()
    {
        return {[this](const auto& unit) { holdIfFlash(unit); },
                [this](auto&, const auto& unit, const auto& result) {
                    if (kindOf(unit) != nullptr)
                    {
                        waiting.push_back({unit, result});
                    }
                },
                [this] { tell("systemd_absent", {}, "systemd left the bus"); },
                [this] { tell("systemd_came", {}, "systemd is on the bus"); },
                request.remark};
    }

    /** Of those that began before the monitor listened. */
    void holdUnitsOfRunningJobs()
    {
        using Job = std::tuple<std::uint32_t, std::string, std::string,
                               std::string, ObjectPath, ObjectPath>;
        try
        {
            auto call =
                bus.new_method_call(systemd::service, systemd::path,
                                    systemd::managerInterface, "ListJobs");
            std::vector<Job> jobs;
            bus.call(call, patience).read(jobs);
            for (const auto& job : jobs)
            {
                holdIfFlash(std::get<1>(job));
            }
        }
        catch (const sdbusplus::exception_t&)
        {
            // Without systemd there are no jobs.
        }
    }

    void holdIfFlash(const std::string& unit)
    {
        if (kindOf(unit) != nullptr)
        {
            holdUnit(bus, unit);
        }
    }

    /** Asks systemd about each, so it runs outside of the signal handlers. */
    void showEndedJobs()
    {
        while (!waiting.empty())
        {
            const auto& job = waiting.front();
            // The stop that canceled a flash has a job of its own.
            if (job.result != "done" || stopped.erase(job.unit) == 0)
            {
                show(job);
            }
            if (job.result == "canceled")
            {
                stopped.insert(job.unit);
            }
            else
            {
                releaseUnit(bus, job.unit);
            }
            waiting.pop_front();
        }
    }

    void show(const EndedJob& job)
    {
        const auto& kind = kindOf(job.unit)->name;
        const auto words = unescapedInstance(job.unit);
        const auto what = words.substr(words.find(" update ") + 8);
        auto outcome = ExitStatus::success;
        std::string verdict = "flashed";
        try
        {
            const auto state = stateOf(bus, job.unit);
            const Launch launch{shown[job.unit], {}, 0};
            shown[job.unit] = state.invocation;
            requireFlashed(job.unit, state,
                           JobEnd{job.result, job.result == "done"}, launch,
                           request.bus);
        }
        catch (const Failure& failure)
        {
            outcome = failure.status;
            verdict = failure.what();
        }
        catch (const sdbusplus::exception_t&)
        {
            outcome = ExitStatus::unexpected;
            verdict = "systemd ended its job with '" + job.result +
                      "' and tells nothing of the unit";
        }
        tell("flash_ended",
             {{"kind", kind},
              {"what", what},
              {"unit", job.unit},
              {"job_result", job.result},
              {"outcome", nameOf(outcome)},
              {"verdict", verdict}},
             kind + " " + what + ": " + verdict);
    }

    void notified(message_t& signal)
    {
        if (!cplds.sent(signal))
        {
            return;
        }
        tell("cpld_notification",
             {{"member", signal.get_member()},
              {"signature", signal.get_signature()}},
             std::string("CPLD notification ") + signal.get_member());
    }

    void tell(const char* event, json data, const std::string& text) const
    {
        using namespace std::chrono;
        const auto time = isoTime(
            duration_cast<seconds>(system_clock::now().time_since_epoch()));
        data["time"] = time;
        data["event"] = event;
        request.tell({data, plain::line(time + " " + text) + '\n'});
    }

    sdbusplus::bus_t& bus;
    const Request& request;
    std::deque<EndedJob> waiting;
    /** Units whose flash was canceled, and whose stop is still to end. */
    std::set<std::string> stopped;
    /** Of each unit, the run that was shown last. */
    std::map<std::string, std::string> shown;
    SystemdSignals signals;
    NameOwner cplds;
    sdbusplus::bus::match_t notifications;
};

} // namespace

Result monitor(const Request& request)
{
    // What is missing here is said before what is missing on the bus.
    library();
    auto bus = connectTo(request.bus);
    try
    {
        Monitor(bus, request).run();
    }
    catch (const sdbusplus::exception_t& error)
    {
        throw Failure(ExitStatus::callFailed, "the bus went away",
                      Reason{"",
                             {},
                             error.name(),
                             "start the bus, then run wexa-fwmgr again"});
    }
    return {};
}
