// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "behaviour.hpp"
#include "dbus/connection.hpp"

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace bmcsim
{

/** What runs the flash units: systemd's manager, or a small one of the
 *  simulator's own that answers the same.
 */
class UnitManager
{
  public:
    virtual ~UnitManager() = default;

    /** @throw std::invalid_argument  it cannot behave so; with the reason */
    virtual void behave(Behaviour behaviour) = 0;

    /** Takes up unit files that were written anew. */
    virtual void reload() = 0;

    /** "systemd" or "builtin". */
    virtual std::string kind() const = 0;

    virtual Behaviour behaviour() const = 0;

    /** A child of the simulated BMC ended. */
    virtual void childEnded(pid_t, int /*status*/) {}

    /** The connection to be served, for a manager that has one. */
    virtual dbus::Connection* connection()
    {
        return nullptr;
    }

    /** When `wake` is to be called, if at all. */
    virtual std::optional<std::chrono::steady_clock::time_point> deadline()
    {
        return {};
    }

    virtual void wake() {}
};

} // namespace bmcsim
