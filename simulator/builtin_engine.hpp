// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "builtin_audience.hpp"
#include "builtin_unit.hpp"
#include "dbus/match.hpp"

#include <map>

namespace bmcsim
{

/** Why a unit cannot be started, as systemd says it; empty where it can. */
std::optional<dbus::Error> loadErrorOf(const BuiltinUnit& unit);

/** @throw dbus::Error  it cannot be started */
void requireUsable(const BuiltinUnit& unit);

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
     *  @param client  the unique name of the client
     *  @throw dbus::Error  as systemd; then it has queued no job
     */
    BuiltinJob& queue(BuiltinUnit& unit, bool isStop, const std::string& mode,
                      const std::string& client);
    void runJobs();

    BuiltinJob& job(std::uint32_t id);
    void cancel(std::uint32_t id);

    /** @throw dbus::Error  the unit cannot be started */
    void refer(const BuiltinUnit& unit, const std::string& client);
    void reset(BuiltinUnit& unit);
    void resetAll();

    /** Reads all unit files anew. */
    void reload();

    /** A child was reaped. What follows from it waits for `wake`. */
    void childEnded(pid_t child, int status);
    std::optional<std::chrono::steady_clock::time_point> deadline() const;
    void wake();

    BuiltinAudience& clients()
    {
        return audience;
    }

    const std::map<std::string, BuiltinUnit>& units() const
    {
        return allUnits;
    }

    const std::map<std::uint32_t, BuiltinJob>& jobs() const
    {
        return allJobs;
    }

  private:
    using Units = std::vector<BuiltinUnit*>;

    Units dependentsOf(const BuiltinUnit& unit);
    Units requirementsOf(const BuiltinUnit& unit);
    Units closureOf(BuiltinUnit& unit, bool isStop);
    bool hasJob(const BuiltinUnit& unit, bool isStop) const;
    bool isRedundant(const BuiltinUnit& unit, bool isStop) const;
    void requireNoOtherJob(const Units& units, bool isStop) const;
    void requireOrder(const Units& units) const;
    void install(BuiltinUnit& unit, bool isStop, bool ignoresOrder,
                 const std::string& client);
    bool mustWait(const BuiltinJob& job) const;
    bool runNext();
    void run(BuiltinJob& job);
    void settle(BuiltinUnit& unit);
    void finish(std::uint32_t id, const std::string& result);
    BuiltinJob remove(std::uint32_t id, const std::string& result);
    void collect();
    void forget(const std::string& client);
    void tell(const BuiltinUnit& unit) const;

    PrivateDirectory directory;
    BuiltinAudience audience;
    std::map<std::string, BuiltinUnit> allUnits;
    std::map<std::uint32_t, BuiltinJob> allJobs;
    std::uint32_t lastJob = 0;
    dbus::Match leavingClients;
};

} // namespace bmcsim
