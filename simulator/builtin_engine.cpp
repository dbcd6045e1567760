// SPDX-License-Identifier: Apache-2.0
#include "builtin_engine.hpp"

#include "unit_text.hpp"

#include <algorithm>
#include <array>
#include <charconv>

namespace bmcsim
{

constexpr auto invalidArgs = "org.freedesktop.DBus.Error.InvalidArgs";
constexpr auto noSuchUnit = "org.freedesktop.systemd1.NoSuchUnit";

BuiltinEngine::BuiltinEngine(PrivateDirectory directory,
                             const dbus::Connection& bus) :
    directory(std::move(directory)), audience(bus),
    leavingClients(
        bus,
        "type='signal',sender='org.freedesktop.DBus',"
        "interface='org.freedesktop.DBus',"
        "member='NameOwnerChanged',arg2=''",
        [this](dbus::Message& signal) { forget(signal.read<std::string>()); })
{}

static void requireName(const std::string& name)
{
    if (!unitText::isValidName(name))
    {
        throw dbus::Error(invalidArgs, "Unit name " + name + " is not valid.");
    }
    if (name.find("@.") != std::string::npos)
    {
        throw dbus::Error(invalidArgs, "Unit name " + name +
                                           " is missing the instance name.");
    }
}

BuiltinUnit& BuiltinEngine::load(const std::string& name)
{
    // As many as systemd's.
    constexpr std::size_t most = 131072;
    requireName(name);
    if (allUnits.size() >= most && !allUnits.contains(name))
    {
        throw dbus::Error("org.freedesktop.DBus.Error.LimitsExceeded",
                          "No more than " + std::to_string(most) +
                              " units can be loaded.");
    }
    const auto [unit, isNew] = allUnits.try_emplace(name, directory, name);
    if (isNew)
    {
        audience.tellOfUnit("UnitNew", name);
    }
    return unit->second;
}

BuiltinUnit& BuiltinEngine::loaded(const std::string& name)
{
    const auto unit = allUnits.find(name);
    if (unit == allUnits.end())
    {
        throw dbus::Error(noSuchUnit, "Unit " + name + " not loaded.");
    }
    return unit->second;
}

BuiltinUnit* BuiltinEngine::unitAt(const std::string& path)
{
    const auto name = unitText::nameOf(path);
    if (name.empty())
    {
        return nullptr;
    }
    if (!unitText::isValidName(name) || name.find("@.") != std::string::npos)
    {
        throw dbus::Error(invalidArgs,
                          "Unit name " + name +
                              " is neither a valid invocation ID nor unit "
                              "name.");
    }
    return &load(name);
}

BuiltinJob* BuiltinEngine::jobAt(const std::string& path)
{
    std::uint32_t id = 0;
    const auto* const last = path.data() + path.size();
    const auto* const first =
        path.data() + std::min(path.size(), BuiltinJob::folder.size());
    const auto [read, error] = std::from_chars(first, last, id);
    const auto found =
        error == std::errc() && read == last ? allJobs.find(id) : allJobs.end();
    return found == allJobs.end() ? nullptr : &found->second;
}

std::optional<dbus::Error> loadErrorOf(const BuiltinUnit& unit)
{
    const auto& file = unit.file();
    const auto beginning = "Unit " + unit.name();
    if (file.loadState == "not-found")
    {
        return dbus::Error(noSuchUnit, beginning + " not found.");
    }
    if (file.loadState == "masked")
    {
        return dbus::Error("org.freedesktop.systemd1.UnitMasked",
                           beginning + " is masked.");
    }
    if (file.loadState == "bad-setting")
    {
        return dbus::Error("org.freedesktop.systemd1.BadUnitSetting",
                           beginning + " has a bad unit file setting" +
                               (file.error.empty() ? "." : ": " + file.error));
    }
    return {};
}

void requireUsable(const BuiltinUnit& unit)
{
    if (const auto error = loadErrorOf(unit))
    {
        throw *error;
    }
}

void BuiltinEngine::runJobs()
{
    while (runNext())
    {
    }
}

/** Runs the first job that can be run. @return whether it found one */
bool BuiltinEngine::runNext()
{
    const auto ready = std::ranges::find_if(allJobs, [this](const auto& entry) {
        const auto& job = entry.second;
        return !job.isRunning && !mustWait(job) &&
               (job.isStop || !allUnits.at(job.unit).isStopping());
    });
    if (ready == allJobs.end())
    {
        return false;
    }
    run(ready->second);
    return true;
}

void BuiltinEngine::run(BuiltinJob& job)
{
    auto& unit = allUnits.at(job.unit);
    job.isRunning = true;
    if (job.isStop)
    {
        if (!unit.isIdle())
        {
            unit.stop();
            tell(unit);
            audience.tellState(job);
        }
        settle(unit);
        return;
    }
    switch (unit.start())
    {
        case BuiltinUnit::Start::begun:
        case BuiltinUnit::Start::later:
            tell(unit);
            audience.tellState(job);
            settle(unit);
            break;
        case BuiltinUnit::Start::failed:
            tell(unit);
            finish(job.id, "failed");
            break;
        case BuiltinUnit::Start::assertFailed:
            tell(unit);
            finish(job.id, "assert");
            break;
        case BuiltinUnit::Start::skipped:
            tell(unit);
            finish(job.id, "done");
            break;
        case BuiltinUnit::Start::already:
            finish(job.id, "done");
            break;
    }
}

/** Ends the job of a unit if the unit has reached the state that the job is
 * for.
 */
void BuiltinEngine::settle(BuiltinUnit& unit)
{
    if (unit.job == 0)
    {
        return;
    }
    const auto& job = allJobs.at(unit.job);
    const auto isThere =
        unit.isIdle() || (!job.isStop && unit.state().active == "active");
    if (job.isRunning && isThere)
    {
        const auto hasFailed = !job.isStop && unit.state().active == "failed";
        finish(job.id, hasFailed ? "failed" : "done");
    }
}

/** As systemd, a start that fails also fails the starts of the units that
 *  require the unit.
 */
void BuiltinEngine::finish(std::uint32_t id, const std::string& result)
{
    const auto job = remove(id, result);
    const auto& unit = allUnits.at(job.unit);
    tell(unit);
    if (job.isStop || result == "done")
    {
        return;
    }
    for (const auto* const dependent : dependentsOf(unit))
    {
        if (hasJob(*dependent, false))
        {
            finish(dependent->job, "dependency");
        }
    }
}

/** As `finish`, but only of this job: another one follows. */
BuiltinJob BuiltinEngine::remove(std::uint32_t id, const std::string& result)
{
    auto job = std::move(allJobs.extract(id).mapped());
    allUnits.at(job.unit).job = 0;
    audience.tellEnd(job, result);
    return job;
}

BuiltinJob& BuiltinEngine::job(std::uint32_t id)
{
    const auto found = allJobs.find(id);
    if (found == allJobs.end())
    {
        throw dbus::Error("org.freedesktop.systemd1.NoSuchJob",
                          "Job " + std::to_string(id) + " does not exist.");
    }
    return found->second;
}

void BuiltinEngine::cancel(std::uint32_t id)
{
    finish(job(id).id, "canceled");
    runJobs();
}

void BuiltinEngine::refer(const BuiltinUnit& unit, const std::string& client)
{
    requireUsable(unit);
    audience.refer(unit.name(), client);
}

void BuiltinEngine::forget(const std::string& client)
{
    audience.forget(client);
    for (auto& [id, job] : allJobs)
    {
        job.clients.erase(client);
    }
}

void BuiltinEngine::reset(BuiltinUnit& unit)
{
    unit.reset();
    tell(unit);
}

void BuiltinEngine::resetAll()
{
    for (auto& [name, unit] : allUnits)
    {
        reset(unit);
    }
}

void BuiltinEngine::reload()
{
    for (auto& [name, unit] : allUnits)
    {
        unit.reload();
    }
}

void BuiltinEngine::childEnded(pid_t child, int status)
{
    for (auto& [name, unit] : allUnits)
    {
        unit.reaped(child, status);
    }
}

std::optional<std::chrono::steady_clock::time_point>
BuiltinEngine::deadline() const
{
    std::optional<std::chrono::steady_clock::time_point> first;
    for (const auto& [name, unit] : allUnits)
    {
        if (const auto last = unit.deadline())
        {
            first = std::min(first.value_or(*last), *last);
        }
    }
    return first;
}

void BuiltinEngine::wake()
{
    for (auto& [name, unit] : allUnits)
    {
        if (unit.takeEnd() || unit.stopIfLate())
        {
            tell(unit);
            settle(unit);
        }
    }
    runJobs();
    collect();
}

/** Forgets the units that nothing needs, as systemd does. */
void BuiltinEngine::collect()
{
    std::erase_if(allUnits, [this](const auto& entry) {
        const auto& [name, unit] = entry;
        const auto isDead = unit.job == 0 && unit.state().active == "inactive";
        if (!isDead || audience.isReferredTo(name))
        {
            return false;
        }
        audience.tellOfUnit("UnitRemoved", name);
        return true;
    });
}

void BuiltinEngine::tell(const BuiltinUnit& unit) const
{
    audience.tellChanges(unit.name());
}

} // namespace bmcsim
