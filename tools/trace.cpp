// SPDX-License-Identifier: Apache-2.0
#include "trace.hpp"

#include <dlfcn.h>
#include <plain.hpp>
#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdint>
#include <cstdio>

using nlohmann::json;
using std::chrono::steady_clock;

namespace
{

struct State
{
    bool isOn = false;
    bool show = false;
    json calls = json::array();
    std::optional<trace::FailedCall> answered;
    std::optional<trace::FailedCall> failed;
    std::string error;
};

State& state()
{
    static State only;
    return only;
}

std::string orNone(const char* text)
{
    return text == nullptr ? "" : text;
}

json describe(sd_bus_message* call)
{
    return {{"service", orNone(sd_bus_message_get_destination(call))},
            {"path", orNone(sd_bus_message_get_path(call))},
            {"interface", orNone(sd_bus_message_get_interface(call))},
            {"member", orNone(sd_bus_message_get_member(call))},
            {"signature", orNone(sd_bus_message_get_signature(call, 1))}};
}

void show(const std::string& text)
{
    std::fprintf(stderr, "trace: %s\n", plain::line(text).c_str());
}

void showBegin(const json& call)
{
    const auto word = [&](const char* key) {
        return call[key].get<std::string>();
    };
    show(word("service") + ' ' + word("path") + ' ' + word("interface") + '.' +
         word("member") + '(' + word("signature") + ')');
}

void showEnd(double milliseconds, const std::string& error,
             const std::string& reply)
{
    char time[32];
    std::snprintf(time, sizeof(time), "  %.1f ms, ", milliseconds);
    show(time + (error.empty() ? "answered (" + reply + ")" : error));
}

} // namespace

namespace trace
{

void begin(bool show)
{
    state().isOn = true;
    state().show = show;
}

bool isOn()
{
    return state().isOn;
}

json calls()
{
    return state().calls;
}

std::optional<FailedCall> callBehind(const std::string& dbusError)
{
    if (dbusError == "System.Error.ENXIO")
    {
        return state().answered;
    }
    return state().error == dbusError ? state().failed : std::nullopt;
}

} // namespace trace

/** How long a call waits for its answer. */
static std::chrono::microseconds limitOf(sd_bus* bus, std::uint64_t timeout)
{
    if (timeout == 0)
    {
        sd_bus_get_method_call_timeout(bus, &timeout);
    }
    return std::chrono::microseconds(timeout);
}

/** The first value of an answer, which is left as it was. */
static ToldValue firstValueOf(sd_bus_message* answer)
{
    auto value = nextValueOf(answer);
    sd_bus_message_rewind(answer, 1);
    return value;
}

/** The property that a call reads or writes. */
static std::string propertyOf(sd_bus_message* call)
{
    const char* interface = nullptr;
    const char* property = nullptr;
    const auto isOne =
        orNone(sd_bus_message_get_interface(call)) ==
            "org.freedesktop.DBus.Properties" &&
        sd_bus_message_rewind(call, 1) >= 0 &&
        sd_bus_message_read(call, "ss", &interface, &property) > 0;
    return isOne ? property : "";
}

static void rememberFailed(const trace::FailedCall& call,
                           const std::string& error)
{
    const auto& before = state().failed;
    if (before && before->changesSomething() && !call.changesSomething() &&
        error == state().error)
    {
        return;
    }
    state().failed = call;
    state().error = error;
}

static void remember(sd_bus* bus, sd_bus_message* call, std::uint64_t timeout,
                     const std::string& error, sd_bus_message* answer)
{
    trace::FailedCall remembered{orNone(sd_bus_message_get_destination(call)),
                                 orNone(sd_bus_message_get_member(call)),
                                 propertyOf(call),
                                 limitOf(bus, timeout),
                                 {}};
    if (!error.empty())
    {
        rememberFailed(remembered, error);
    }
    else if (answer != nullptr)
    {
        remembered.answer = firstValueOf(answer);
        state().answered = remembered;
    }
}

/** As the trace shows the end of a call. */
static void record(json call, double milliseconds, const std::string& error,
                   const std::string& answer)
{
    call["milliseconds"] = milliseconds;
    call["error"] = error.empty() ? json() : json(error);
    call["reply"] = answer;
    state().calls.push_back(call);
    if (state().show)
    {
        showEnd(milliseconds, error, answer);
    }
}

extern "C" [[gnu::visibility("default")]] int
sd_bus_call(sd_bus* bus, sd_bus_message* message, std::uint64_t timeout,
            sd_bus_error* error, sd_bus_message** reply)
{
    static const auto original = reinterpret_cast<decltype(&sd_bus_call)>(
        dlsym(RTLD_NEXT, "sd_bus_call"));
    const auto call = describe(message);
    if (state().show)
    {
        showBegin(call);
    }
    const auto start = steady_clock::now();
    const auto result = original(bus, message, timeout, error, reply);
    const std::chrono::duration<double, std::milli> took =
        steady_clock::now() - start;

    const auto failed =
        result < 0 ? orNone(error == nullptr ? nullptr : error->name) : "";
    auto* const answer = result < 0 || reply == nullptr ? nullptr : *reply;
    remember(bus, message, timeout, failed, answer);
    if (trace::isOn())
    {
        record(call, took.count(), failed,
               answer == nullptr
                   ? ""
                   : orNone(sd_bus_message_get_signature(answer, 1)));
    }
    return result;
}
