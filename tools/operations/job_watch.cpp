// SPDX-License-Identifier: Apache-2.0
#include "job_watch.hpp"

#include "../common/failure.hpp"
#include "../common/patience.hpp"
#include "../common/systemd.hpp"

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

JobWatch::JobWatch(sdbusplus::bus::bus& bus, Handler handle) :
    bus(bus), handle(std::move(handle)),
    newJobs(bus, systemd::signalRule("JobNew"),
            [this](auto& signal) { jobNew(signal); }),
    jobs(bus, systemd::signalRule("JobRemoved"),
         [this](auto& signal) { jobRemoved(signal); }),
    owners(bus, systemd::ownerRule,
           [this](auto& signal) { nameOwnerChanged(signal); })
{
    subscribe();
}

void JobWatch::subscribe()
{
    try
    {
        auto call = bus.new_method_call(systemd::service, systemd::path,
                                        systemd::managerInterface, "Subscribe");
        bus.call(call, patience);
    }
    catch (const sdbusplus::exception::exception&)
    {
        // The start that follows fails in the same way, and says so.
    }
}

void JobWatch::jobNew(sdbusplus::message::message& signal)
{
    std::uint32_t job = 0;
    sdbusplus::message::object_path path;
    std::string unit;
    signal.read(job, path, unit);
    started.insert(unit);
}

bool JobWatch::sawJobFor(const std::string& unit)
{
    // Not past an outcome, which waits to be fetched.
    while (!outcome && bus.process_discard())
    {}
    return started.contains(unit);
}

void JobWatch::jobRemoved(sdbusplus::message::message& signal)
{
    if (outcome || failure)
    {
        return;
    }
    // Between this and whoever waits lies C, which knows no exceptions.
    try
    {
        if (const auto told = handle(signal); told != 0)
        {
            outcome = told;
        }
    }
    catch (...)
    {
        failure = std::current_exception();
    }
}

void JobWatch::nameOwnerChanged(sdbusplus::message::message& signal)
{
    std::string name;
    std::string before;
    std::string after;
    signal.read(name, before, after);
    systemdIsGone = after.empty();
}

void JobWatch::processAll()
{
    try
    {
        while (!outcome && bus.process_discard())
        {}
    }
    catch (const sdbusplus::exception::exception&)
    {
        throw Failure(ExitStatus::callFailed,
                      "the bus went away; whether the flash ended is not known",
                      "start it again, and look at what the flash program "
                      "logged");
    }
}

std::optional<int> JobWatch::wait(steady_clock::time_point deadline,
                                  const std::function<void()>& tick)
{
    constexpr milliseconds slice{100};
    for (;;)
    {
        processAll();
        if (failure)
        {
            std::rethrow_exception(failure);
        }
        if (outcome)
        {
            return std::exchange(outcome, {});
        }
        if (systemdIsGone)
        {
            throw Failure(ExitStatus::callFailed,
                          "systemd left the bus; whether the flash ended is "
                          "not known",
                          "start it again, and look at what the flash "
                          "program logged");
        }
        const auto left =
            std::chrono::ceil<milliseconds>(deadline - steady_clock::now());
        if (left <= milliseconds::zero())
        {
            return {};
        }
        tick();
        bus.wait(std::min(slice, left));
    }
}
