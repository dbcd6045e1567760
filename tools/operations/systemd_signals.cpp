// SPDX-License-Identifier: Apache-2.0
#include "systemd_signals.hpp"

#include "../common/object_path.hpp"
#include "../common/patience.hpp"
#include "../common/systemd.hpp"

#include <sdbusplus/exception.hpp>
#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdint>
#include <exception>
#include <utility>

using sdbusplus::message_t;

SystemdSignals::SystemdSignals(sdbusplus::bus_t& bus, SystemdEvents events) :
    bus(bus), events(std::move(events)),
    owner(std::make_unique<NameOwner>(
        bus, systemd::service, [this] { handle([this] { ownerChanged(); }); },
        this->events.remark)),
    newJobs(bus, systemd::signalRule("JobNew"),
            [this](auto& signal) { handle([&] { jobNew(signal); }); }),
    endedJobs(bus, systemd::signalRule("JobRemoved"),
              [this](auto& signal) { handle([&] { jobRemoved(signal); }); })
{
    if (systemdIsPresent())
    {
        subscribe();
    }
}

void SystemdSignals::subscribe()
{
    try
    {
        auto call = bus.new_method_call(systemd::service, systemd::path,
                                        systemd::managerInterface, "Subscribe");
        bus.call(call, patience);
    }
    catch (const sdbusplus::exception_t&)
    {
        // What is asked of systemd next fails in the same way, and says so.
    }
}

void SystemdSignals::ownerChanged()
{
    if (!owner->isPresent())
    {
        events.left();
        return;
    }
    subscribe();
    events.came();
}

void SystemdSignals::jobNew(message_t& signal)
{
    if (!owner->sent(signal))
    {
        return;
    }
    std::uint32_t job = 0;
    ObjectPath path;
    std::string unit;
    signal.read(job, path, unit);
    events.jobNew(unit);
}

/** Lets it be read again from its start. */
static void toStart(message_t signal)
{
    auto* const raw = signal.release();
    sd_bus_message_rewind(raw, 1);
    sd_bus_message_unref(raw);
}

void SystemdSignals::jobRemoved(message_t& signal)
{
    if (!owner->sent(signal))
    {
        return;
    }
    std::uint32_t job = 0;
    ObjectPath path;
    std::string unit;
    std::string result;
    signal.read(job, path, unit, result);
    toStart(signal);
    events.jobRemoved(signal, unit, result);
}

void SystemdSignals::handle(const std::function<void()>& handler)
{
    try
    {
        handler();
    }
    catch (...)
    {
        thrown = std::current_exception();
    }
}

void SystemdSignals::process(sdbusplus::SdBusDuration limit)
{
    try
    {
        bus.wait(limit);
    }
    catch (const sdbusplus::exception_t& error)
    {
        // A signal to the process ends the wait.
        if (error.get_errno() != EINTR)
        {
            throw;
        }
    }
    constexpr auto most = 10000;
    for (auto count = 0; count < most && bus.process_discard(); ++count)
    {
        if (thrown)
        {
            std::rethrow_exception(std::exchange(thrown, nullptr));
        }
    }
}
