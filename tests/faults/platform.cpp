// SPDX-License-Identifier: Apache-2.0
#include "platform.hpp"

#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <map>

namespace test
{

void Platform::start(const CallSite& site, Method method)
{
    startAll(site, std::move(method), "");
}

void Platform::startWithoutObject(const CallSite& site)
{
    startAll(site, {"/elsewhere", site.interface, site.member, healthy(site)},
             site.path);
}

/** Whether the operation of `site` sends a call to a service. */
static bool isAsked(const CallSite& site, const std::string& service)
{
    const auto isItsCall = [&](const std::string& call) {
        return call.starts_with(service + ' ');
    };
    return isItsCall(site.call) ||
           std::ranges::any_of(site.sentBefore, isItsCall) ||
           std::ranges::any_of(site.success.sent, isItsCall);
}

void Platform::startAll(const CallSite& disturbed, Method instead,
                        const std::string& absentObject)
{
    std::map<std::string, std::vector<Method>> offered;
    offered[disturbed.service].push_back(std::move(instead));
    for (const auto& site : callSites())
    {
        const auto isReplaced =
            site.service == disturbed.service &&
            (site.member == disturbed.member || site.path == absentObject);
        if (!isReplaced)
        {
            offered[site.service].push_back(
                {site.path, site.interface, site.member, healthy(site)});
        }
    }
    for (const auto& [service, methods] : offered)
    {
        if (isAsked(disturbed, service))
        {
            offer(service, methods);
        }
    }
}

void Platform::refuseToSend(const CallSite& site)
{
    isRefused = true;
    beforeCall(site, [this, service = site.service] { bus.refuse(service); });
}

std::vector<std::string> Platform::heard()
{
    auto all = events();
    if (!isRefused)
    {
        return all;
    }
    for (auto& event : all)
    {
        const auto refusal = bus.program().accessDeniedIn(event);
        if (!refusal.empty())
        {
            event.replace(
                static_cast<std::size_t>(refusal.data() - event.data()),
                refusal.size(), refusedByTheBus);
        }
    }
    return all;
}

Reply Platform::tooLate(Reply then)
{
    return [end = end, then](sd_bus_message* call) {
        end.wait_for(std::chrono::seconds(30));
        then(call);
    };
}

Reply Platform::interrupting(Reply then)
{
    signal(SIGUSR1, [](int) {});
    return [end = end, then, caller = pthread_self()](sd_bus_message* call) {
        const auto most = callsOutliveSignals ? 100 : 30'000;
        for (int times = 0; times < most; ++times)
        {
            pthread_kill(caller, SIGUSR1);
            if (end.wait_for(std::chrono::milliseconds(1)) ==
                std::future_status::ready)
            {
                break;
            }
        }
        then(call);
    };
}

static void sendSignal(sd_bus_message* call)
{
    sd_bus_message* made = nullptr;
    check(sd_bus_message_new_signal(sd_bus_message_get_bus(call), &made,
                                    "/flood", "test.Flood", "Drop"),
          "sd_bus_message_new_signal");
    check(sd_bus_message_set_destination(made, sd_bus_message_get_sender(call)),
          "sd_bus_message_set_destination");
    check(sd_bus_message_send(made), "sd_bus_message_send");
    sd_bus_message_unref(made);
}

Reply Platform::afterSignals(int count, Reply then)
{
    return [count, then](sd_bus_message* call) {
        for (int sent = 0; sent < count; ++sent)
        {
            sendSignal(call);
        }
        then(call);
    };
}

std::string Platform::run(const CallSite& site)
{
    std::string result;
    try
    {
        result = site.operation(manager);
    }
    catch (const sdbusplus::exception::SdBusError& thrown)
    {
        result = "SdBusError: " + std::string(thrown.what());
    }
    catch (const std::exception& thrown)
    {
        result = "another exception: " + std::string(thrown.what());
    }
    return result;
}

void Platform::endFault()
{
    // Else the next call could meet the last of them.
    signal(SIGUSR1, SIG_IGN);
    ended.set_value();
    disturbance.reset();
    refusal.reset();
    setTimeout(std::chrono::seconds(25));
    if (isRefused)
    {
        bus.refuse("");
    }
}

bool Platform::isConnected()
{
    const auto answered =
        sd_bus_call_method(raw.get(), "org.freedesktop.DBus",
                           "/org/freedesktop/DBus", "org.freedesktop.DBus.Peer",
                           "Ping", nullptr, nullptr, nullptr) >= 0;
    if (answered)
    {
        sent();
    }
    return answered;
}

int Platform::waitingSignals()
{
    int count = 0;
    for (sd_bus_message* message = nullptr;
         sd_bus_process(raw.get(), &message) > 0;
         sd_bus_message_unref(message), message = nullptr)
    {
        count += sd_bus_message_is_signal(message, "test.Flood", "Drop");
    }
    return count;
}

} // namespace test
