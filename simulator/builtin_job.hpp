// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "dbus/value.hpp"

#include <cstdint>
#include <set>
#include <string>

namespace bmcsim
{

/** A job of the built-in manager. */
struct BuiltinJob
{
    std::uint32_t id = 0;
    std::string unit;
    bool isStop = false;
    /** Whether it neither waits for other jobs nor they for it. */
    bool ignoresOrder = false;
    bool isRunning = false;
    /** Clients that queued it: they hear of its end. */
    std::set<std::string> clients;

    static std::string typeOf(bool isStop)
    {
        return isStop ? "stop" : "start";
    }

    std::string type() const
    {
        return typeOf(isStop);
    }

    std::string state() const
    {
        return isRunning ? "running" : "waiting";
    }

    /** The object of a job, or "/" for 0. */
    static dbus::ObjectPath pathOf(std::uint32_t id)
    {
        return {id == 0 ? "/" : folder + std::to_string(id)};
    }

    /** The path of a job's object before its number. */
    static const inline std::string folder = "/org/freedesktop/systemd1/job/";
};

} // namespace bmcsim
