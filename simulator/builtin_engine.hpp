// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "builtin_unit.hpp"
#include "dbus/match.hpp"

#include <map>
#include <memory>
#include <set>

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
    static dbus::ObjectPath pathOf(std::uint32_t id);
};

/** Why a unit cannot be started, as systemd says it; empty where it can. */
std::optional<dbus::Error> loadErrorOf(const BuiltinUnit& unit);

/** The units and jobs of one life of the built-in manager, and what it signals
 *  of them. Errors that it throws are those that systemd answers.
 */
class BuiltinEngine
{
  public:
    BuiltinEngine(PrivateDirectory directory, const dbus::Connection& bus);

    /** As systemd, it also loads what has no file. A unit that nothing needs
     *  is forgotten at the next `collect`.
     */
    BuiltinUnit& load(const std::string& name);

    /** A unit that is loaded already. */
    BuiltinUnit& loaded(const std::string& name);

    /** The unit of an object; null where the path is not that of a unit. */
    BuiltinUnit* unitAt(const std::string& path);
    BuiltinJob* jobAt(const std::string& path);

    /** Queues a job, to be run by `runJobs`, or finds the one that is queued.
     *
     *  @param client  the unique name of the client, or empty
     */
    BuiltinJob& queue(BuiltinUnit& unit, bool isStop, const std::string& mode,
                      const std::string& client);
    void runJobs();

    BuiltinJob& job(std::uint32_t id);
    void cancel(std::uint32_t id);

    void subscribe(const std::string& client);
    void unsubscribe(const std::string& client);
    void refer(const BuiltinUnit& unit, const std::string& client);
    void release(const BuiltinUnit& unit, const std::string& client);
    void reset(BuiltinUnit& unit);
    void resetAll();

    /** Reads all unit files anew. */
    void reload();

    void childEnded(pid_t child, int status);
    std::optional<std::chrono::steady_clock::time_point> deadline() const;
    void wake();

    const std::map<std::string, BuiltinUnit>& units() const
    {
        return allUnits;
    }

    const std::map<std::uint32_t, BuiltinJob>& jobs() const
    {
        return allJobs;
    }

  private:
    BuiltinJob& install(BuiltinUnit& unit, bool isStop);
    bool runNext();
    void run(BuiltinJob& job);
    void settle(BuiltinUnit& unit);
    void finish(std::uint32_t id, const std::string& result);
    void remove(std::uint32_t id, const std::string& result);
    void failWaiting(std::uint32_t id, const std::string& result);
    void collect();
    void forget(const std::string& client);
    void tell(const BuiltinUnit& unit) const;
    void tellState(const BuiltinJob& job) const;
    bool isHeard(const BuiltinJob& job) const;
    template <typename... Values>
    void announce(const char* signal, const Values&... values) const;

    PrivateDirectory directory;
    const dbus::Connection& bus;
    std::map<std::string, BuiltinUnit> allUnits;
    std::map<std::uint32_t, BuiltinJob> allJobs;
    std::uint32_t lastJob = 0;
    std::set<std::string> subscribers;
    /** How often a client refers to a unit, by the unit's name. */
    std::map<std::string, std::map<std::string, int>> references;
    dbus::Match leavingClients;
};

} // namespace bmcsim
