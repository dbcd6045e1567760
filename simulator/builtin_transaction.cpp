// SPDX-License-Identifier: Apache-2.0
#include "builtin_engine.hpp"

#include <algorithm>
#include <set>

// How the built-in manager queues a job, and those that belong to it: a start
// also starts what the unit requires, a stop also stops what requires the unit.
// It first checks all of them, and queues all or none.

namespace bmcsim
{

constexpr auto invalidArgs = "org.freedesktop.DBus.Error.InvalidArgs";

static bool contains(const std::vector<std::string>& names,
                     const std::string& name)
{
    return std::ranges::find(names, name) != names.end();
}

static void requireKnown(const std::string& mode)
{
    static const std::vector<std::string> systemds{"fail",
                                                   "replace",
                                                   "replace-irreversibly",
                                                   "isolate",
                                                   "ignore-dependencies",
                                                   "ignore-requirements",
                                                   "flush",
                                                   "triggering"};
    if (!contains(systemds, mode))
    {
        throw dbus::Error(invalidArgs, "Job mode " + mode + " invalid");
    }
    if (mode == "replace-irreversibly" || mode == "flush")
    {
        throw dbus::Error("org.freedesktop.DBus.Error.NotSupported",
                          "The built-in manager does not know job mode " +
                              mode + ".");
    }
}

static void requireFit(const std::string& mode, bool isStop)
{
    if (mode == "isolate" && isStop)
    {
        throw dbus::Error(invalidArgs, "Isolate is only valid for start.");
    }
    if (mode == "isolate")
    {
        throw dbus::Error("org.freedesktop.systemd1.NoIsolation",
                          "Operation refused, unit may not be isolated.");
    }
    // Nothing triggers a flash unit: a stop is as with "replace".
    if (mode == "triggering" && !isStop)
    {
        throw dbus::Error(invalidArgs,
                          "--job-mode=triggering is only valid for stop.");
    }
}

BuiltinJob& BuiltinEngine::queue(BuiltinUnit& unit, bool isStop,
                                 const std::string& mode,
                                 const std::string& client)
{
    requireKnown(mode);
    if (isStop && unit.file().path.empty() && unit.isIdle())
    {
        throw dbus::Error("org.freedesktop.systemd1.NoSuchUnit",
                          "Unit " + unit.name() + " not loaded.");
    }
    requireFit(mode, isStop);
    if (!isStop)
    {
        requireUsable(unit);
    }
    auto units =
        mode.starts_with("ignore-") ? Units{&unit} : closureOf(unit, isStop);
    std::erase_if(units, [&](const auto* other) {
        return other != &unit && isRedundant(*other, isStop);
    });
    if (mode == "fail")
    {
        requireNoOtherJob(units, isStop);
    }
    const auto ignoresOrder = mode == "ignore-dependencies";
    if (!ignoresOrder)
    {
        requireOrder(units);
    }
    // The unit itself is the first.
    std::ranges::reverse(units);
    for (auto* const each : units)
    {
        install(*each, isStop, ignoresOrder, each == &unit ? client : "");
    }
    return allJobs.at(unit.job);
}

/** The loaded units that require a unit. */
BuiltinEngine::Units BuiltinEngine::dependentsOf(const BuiltinUnit& unit)
{
    Units dependents;
    for (auto& [name, other] : allUnits)
    {
        if (contains(other.file().requirements, unit.name()))
        {
            dependents.push_back(&other);
        }
    }
    return dependents;
}

/** The units that a unit requires.
 *
 *  @throw dbus::Error  one of them cannot be started
 */
BuiltinEngine::Units BuiltinEngine::requirementsOf(const BuiltinUnit& unit)
{
    Units requirements;
    for (const auto& name : unit.file().requirements)
    {
        requirements.push_back(&load(name));
        requireUsable(*requirements.back());
    }
    return requirements;
}

/** A unit, and what is to be started or stopped with it.
 *
 *  @throw dbus::Error  a required one cannot be started
 */
BuiltinEngine::Units BuiltinEngine::closureOf(BuiltinUnit& unit, bool isStop)
{
    Units all{&unit};
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        const auto others =
            isStop ? dependentsOf(*all[i]) : requirementsOf(*all[i]);
        for (auto* const other : others)
        {
            if (std::ranges::find(all, other) == all.end())
            {
                all.push_back(other);
            }
        }
    }
    return all;
}

bool BuiltinEngine::hasJob(const BuiltinUnit& unit, bool isStop) const
{
    return unit.job != 0 && allJobs.at(unit.job).isStop == isStop;
}

/** Whether a unit is already where a job would bring it. */
bool BuiltinEngine::isRedundant(const BuiltinUnit& unit, bool isStop) const
{
    const auto isThere =
        isStop ? unit.isIdle() : unit.state().active == "active";
    return isThere && !hasJob(unit, !isStop);
}

/** @param units  first the one that a client has named */
void BuiltinEngine::requireNoOtherJob(const Units& units, bool isStop) const
{
    for (const auto* const unit : units)
    {
        if (hasJob(*unit, !isStop))
        {
            const auto type = BuiltinJob::typeOf(isStop);
            throw dbus::Error(
                "org.freedesktop.systemd1.TransactionIsDestructive",
                std::string("Transaction for ")
                    .append(units.front()->name())
                    .append("/")
                    .append(type)
                    .append(" is destructive (")
                    .append(unit->name())
                    .append(" has '")
                    .append(BuiltinJob::typeOf(!isStop))
                    .append("' job queued, but '")
                    .append(type)
                    .append("' is included in transaction)."));
        }
    }
}

/** @throw dbus::Error  some would wait for each other for ever */
void BuiltinEngine::requireOrder(const Units& units) const
{
    std::set<std::string> left;
    for (const auto* const unit : units)
    {
        left.insert(unit->name());
    }
    for (const auto& [id, job] : allJobs)
    {
        if (!job.ignoresOrder)
        {
            left.insert(job.unit);
        }
    }
    const auto isFree = [&](const std::string& name) {
        return std::ranges::none_of(
            allUnits.at(name).file().after,
            [&](const auto& other) { return left.contains(other); });
    };
    while (std::erase_if(left, isFree) > 0)
    {
    }
    if (!left.empty())
    {
        throw dbus::Error(
            "org.freedesktop.systemd1.TransactionOrderIsCyclic",
            "Transaction order is cyclic. See system logs for details.");
    }
}

/** Gives a unit a job, unless it has the same one. */
void BuiltinEngine::install(BuiltinUnit& unit, bool isStop, bool ignoresOrder,
                            const std::string& client)
{
    if (hasJob(unit, !isStop))
    {
        remove(unit.job, "canceled");
    }
    const auto isNew = unit.job == 0;
    if (isNew)
    {
        unit.job = ++lastJob;
        allJobs[unit.job] = {unit.job,     unit.name(), isStop,
                             ignoresOrder, false,       {}};
    }
    auto& job = allJobs.at(unit.job);
    if (!client.empty())
    {
        job.clients.insert(client);
    }
    if (isNew)
    {
        tell(unit);
        audience.tellNew(job);
    }
}

/** Whether a job goes after one that is queued: a stop goes first, and among
 *  stops the unit that was to start last.
 */
bool BuiltinEngine::mustWait(const BuiltinJob& job) const
{
    const auto isAfter = [this](const auto& one, const auto& other) {
        return contains(allUnits.at(one.unit).file().after, other.unit);
    };
    return std::ranges::any_of(allJobs, [&](const auto& entry) {
        const auto& other = entry.second;
        return !job.ignoresOrder && !other.ignoresOrder &&
               ((!job.isStop && isAfter(job, other)) ||
                (other.isStop && isAfter(other, job)));
    });
}

} // namespace bmcsim
