// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/private_bus.hpp"

#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace test
{

/** Keeps what the unit manager signals of one unit, in order: its jobs, and
 *  each new state.
 */
class ManagerSignals
{
  public:
    ManagerSignals(const std::string& busAddress, std::string unit,
                   const std::string& path) :
        unit(std::move(unit)), connection(connectTo(busAddress))
    {
        check(sd_bus_match_signal(connection.get(), nullptr, nullptr,
                                  path.c_str(),
                                  "org.freedesktop.DBus.Properties",
                                  "PropertiesChanged", changed, this),
              "match");
        for (const auto* member : {"JobNew", "JobRemoved"})
        {
            check(sd_bus_match_signal(
                      connection.get(), nullptr, nullptr, nullptr,
                      "org.freedesktop.systemd1.Manager", member, job, this),
                  "match");
        }
        check(sd_bus_call_method(connection.get(), "org.freedesktop.systemd1",
                                 "/org/freedesktop/systemd1",
                                 "org.freedesktop.systemd1.Manager",
                                 "Subscribe", nullptr, nullptr, nullptr),
              "Subscribe");
    }

    /** The first ones, as soon as there are `count`. */
    std::vector<std::string> next(std::size_t count)
    {
        processUntil(connection.get(), [&] { return heard.size() >= count; });
        return heard;
    }

    /** All until so many jobs have ended, and the unit rests without one. */
    std::vector<std::string> untilIdle(std::size_t jobs)
    {
        processUntil(connection.get(), [&] {
            return endedJobs >= jobs &&
                   (last == "inactive dead" || last == "failed failed" ||
                    last == "active exited");
        });
        return heard;
    }

  private:
    static int job(sd_bus_message* signal, void* self, sd_bus_error*)
    {
        auto& signals = *static_cast<ManagerSignals*>(self);
        std::uint32_t id = 0;
        const char* object = nullptr;
        const char* name = nullptr;
        check(sd_bus_message_read(signal, "uos", &id, &object, &name), "job");
        if (signals.unit == name)
        {
            std::string text = sd_bus_message_get_member(signal);
            if (text == "JobRemoved")
            {
                const char* result = nullptr;
                check(sd_bus_message_read(signal, "s", &result), "result");
                text.append(" ").append(result);
                ++signals.endedJobs;
            }
            signals.heard.push_back(text);
        }
        return 0;
    }

    static int changed(sd_bus_message* signal, void* self, sd_bus_error*)
    {
        auto& signals = *static_cast<ManagerSignals*>(self);
        const char* interface = nullptr;
        check(sd_bus_message_read(signal, "s", &interface), "interface");
        if (std::strcmp(interface, "org.freedesktop.systemd1.Unit") == 0)
        {
            const auto state = stateIn(signal);
            if (state != signals.last)
            {
                signals.heard.push_back(state);
                signals.last = state;
            }
        }
        return 0;
    }

    /** ActiveState, SubState and whether there is a job. */
    static std::string stateIn(sd_bus_message* signal)
    {
        std::map<std::string, std::string> values;
        check(sd_bus_message_enter_container(signal, 'a', "{sv}"), "enter");
        while (check(sd_bus_message_enter_container(signal, 'e', "sv"), "e") >
               0)
        {
            const char* name = nullptr;
            check(sd_bus_message_read(signal, "s", &name), "name");
            values[name] = valueIn(signal);
            check(sd_bus_message_exit_container(signal), "exit");
        }
        return values["ActiveState"] + ' ' + values["SubState"] +
               (values["Job"].empty() ? "" : ", has a job");
    }

    /** A text, "job" for a job, and nothing for others. */
    static std::string valueIn(sd_bus_message* signal)
    {
        const char* text = "";
        std::uint32_t id = 0;
        if (sd_bus_message_verify_type(signal, 'v', "s") > 0)
        {
            check(sd_bus_message_read(signal, "v", "s", &text), "text");
            return text;
        }
        if (sd_bus_message_verify_type(signal, 'v', "(uo)") > 0)
        {
            check(sd_bus_message_read(signal, "v", "(uo)", &id, &text), "job");
            return id == 0 ? "" : "job";
        }
        check(sd_bus_message_skip(signal, "v"), "skip");
        return "";
    }

    std::string unit;
    Connection connection;
    std::vector<std::string> heard;
    std::string last;
    std::size_t endedJobs = 0;
};

} // namespace test
