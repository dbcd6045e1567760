// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "builtin_job.hpp"
#include "dbus/connection.hpp"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace bmcsim
{

/** The clients of the built-in manager, and what it signals to them. Without
 *  its bus it signals nothing: the units go on.
 */
class BuiltinAudience
{
  public:
    explicit BuiltinAudience(const dbus::Connection& bus) : bus(bus) {}

    /** @throw dbus::Error  as systemd, if it has subscribed already */
    void subscribe(const std::string& client);

    /** @throw dbus::Error  as systemd, if it has not subscribed */
    void unsubscribe(const std::string& client);

    void refer(const std::string& unit, const std::string& client);

    /** @throw dbus::Error  as systemd, if it does not refer to the unit */
    void release(const std::string& unit, const std::string& client);

    bool isReferredTo(const std::string& unit) const;

    /** A client has left the bus. */
    void forget(const std::string& client);

    /** "UnitNew" or "UnitRemoved". */
    void tellOfUnit(const char* signal, const std::string& unit) const;

    /** That properties of a unit changed. */
    void tellChanges(const std::string& unit) const;

    void tellNew(const BuiltinJob& job) const;
    void tellState(const BuiltinJob& job) const;
    void tellEnd(const BuiltinJob& job, const std::string& result) const;

  private:
    bool isHeard(const BuiltinJob& job) const;
    template <typename... Values>
    void announce(const char* signal, const Values&... values) const;
    void announceChanges(const std::string& path, const char* interface,
                         const std::vector<std::string>& properties = {}) const;

    const dbus::Connection& bus;
    std::set<std::string> subscribers;
    /** How often a client refers to a unit, by the names of both. */
    std::map<std::pair<std::string, std::string>, int> references;
};

} // namespace bmcsim
