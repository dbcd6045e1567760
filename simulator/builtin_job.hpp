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
    std::uint32_t id;
    std::string unit;
    bool isStop;
    bool isRunning = false;
    /** The jobs that must be done before. */
    std::set<std::uint32_t> after;
    /** Clients that queued it: they hear of its end. */
    std::set<std::string> clients;

    std::string type() const
    {
        return isStop ? "stop" : "start";
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
