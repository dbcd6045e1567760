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

} // namespace trace

extern "C" [[gnu::visibility("default")]] int
sd_bus_call(sd_bus* bus, sd_bus_message* message, std::uint64_t timeout,
            sd_bus_error* error, sd_bus_message** reply)
{
    static const auto original = reinterpret_cast<decltype(&sd_bus_call)>(
        dlsym(RTLD_NEXT, "sd_bus_call"));
    if (!trace::isOn())
    {
        return original(bus, message, timeout, error, reply);
    }

    auto call = describe(message);
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
    const auto answer = result < 0 || reply == nullptr
                            ? ""
                            : orNone(sd_bus_message_get_signature(*reply, 1));
    call["milliseconds"] = took.count();
    call["error"] = failed.empty() ? json() : json(failed);
    call["reply"] = answer;
    state().calls.push_back(call);
    if (state().show)
    {
        showEnd(took.count(), failed, answer);
    }
    return result;
}
