// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scripted_service.hpp"

#include <memory>
#include <string>

/** systemd's manager as the library must address it. */
namespace test::systemd_manager
{

constexpr auto service = "org.freedesktop.systemd1";
constexpr auto path = "/org/freedesktop/systemd1";
constexpr auto interface = "org.freedesktop.systemd1.Manager";

inline Method startUnit(Reply reply)
{
    return {path, interface, "StartUnit", std::move(reply)};
}

/** What a real one answers. */
inline Reply accepts()
{
    return reply::objectPath("/org/freedesktop/systemd1/job/7");
}

/** The call that starts a unit, as sent. */
inline std::string call(const std::string& unit)
{
    return std::string(service) + ' ' + path + ' ' + interface +
           ".StartUnit(ss) \"" + unit + "\" \"replace\"";
}

using Signal = std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

/** The signal of a finished job, to be filled and sealed. */
inline Signal newJobRemoved(sd_bus* bus)
{
    sd_bus_message* made = nullptr;
    check(sd_bus_message_new_signal(bus, &made, path, interface, "JobRemoved"),
          "sd_bus_message_new_signal");
    return {made, sd_bus_message_unref};
}

} // namespace test::systemd_manager
