// SPDX-License-Identifier: Apache-2.0
#include "builtin_interfaces.hpp"

#include "unit_text.hpp"

#include <fnmatch.h>
#include <signal.h>

#include <algorithm>
#include <limits>

namespace bmcsim::builtinInterfaces
{

using dbus::Call;
using dbus::Changes;
using dbus::ObjectPath;

namespace
{

using Engine = BuiltinEngine;
using Unit = BuiltinUnit;
using Texts = std::vector<std::string>;

ObjectPath pathOf(const Unit& unit)
{
    return {unitText::objectPath(unit.name())};
}

/** Starts or stops a unit for the sender of a call. */
void enqueue(Engine& engine, const Call& call, Unit& unit, bool isStop,
             const std::string& mode, bool answersNumber = false)
{
    const auto id = engine.queue(unit, isStop, mode, call.sender()).id;
    if (answersNumber)
    {
        call.reply(id);
    }
    else
    {
        call.reply(BuiltinJob::pathOf(id));
    }
    engine.runJobs();
}

void addJobs(dbus::Interface<Engine>& members, bool answersNumber)
{
    members.method("StartUnit", "ss", answersNumber ? "u" : "o",
                   [answersNumber](Engine& engine, Call& call) {
                       auto& unit = engine.load(call.read<std::string>());
                       enqueue(engine, call, unit, false,
                               call.read<std::string>(), answersNumber);
                   });
    members.method("StopUnit", "ss", "o", [](Engine& engine, Call& call) {
        auto& unit = engine.load(call.read<std::string>());
        enqueue(engine, call, unit, true, call.read<std::string>());
    });
    members.method("GetJob", "u", "o", [](Engine& engine, Call& call) {
        const auto id = engine.job(call.read<std::uint32_t>()).id;
        call.reply(BuiltinJob::pathOf(id));
    });
    members.method("CancelJob", "u", "", [](Engine& engine, Call& call) {
        engine.cancel(call.read<std::uint32_t>());
        call.reply();
    });
    members.method(
        "ListJobs", "", "a(usssoo)", [](const Engine& engine, Call& call) {
            std::vector<std::tuple<std::uint32_t, std::string, std::string,
                                   std::string, ObjectPath, ObjectPath>>
                list;
            for (const auto& [id, job] : engine.jobs())
            {
                list.emplace_back(id, job.unit, job.type(), job.state(),
                                  BuiltinJob::pathOf(id),
                                  ObjectPath(unitText::objectPath(job.unit)));
            }
            call.reply(list);
        });
}

/** As the manager lists a unit: name, description, load, active and sub state,
 *  followed unit, object, job, its type, its object.
 */
using Entry =
    std::tuple<std::string, std::string, std::string, std::string, std::string,
               std::string, ObjectPath, std::uint32_t, std::string, ObjectPath>;

Entry entryOf(const Engine& engine, const Unit& unit)
{
    return {unit.name(),
            unit.file().description,
            unit.file().loadState,
            unit.state().active,
            unit.state().sub,
            "",
            pathOf(unit),
            unit.job,
            unit.job == 0 ? "" : engine.jobs().at(unit.job).type(),
            BuiltinJob::pathOf(unit.job)};
}

/** Whether a unit is in one of these states; in any, where none is given. */
bool isIn(const Unit& unit, const Texts& states)
{
    return states.empty() ||
           std::ranges::any_of(states, [&](const auto& state) {
               return state == unit.file().loadState ||
                      state == unit.state().active || state == unit.state().sub;
           });
}

bool isNamed(const Unit& unit, const Texts& patterns)
{
    return patterns.empty() ||
           std::ranges::any_of(patterns, [&](const auto& pattern) {
               return fnmatch(pattern.c_str(), unit.name().c_str(),
                              FNM_NOESCAPE) == 0;
           });
}

void answerList(const Engine& engine, const Call& call, const Texts& states,
                const Texts& patterns)
{
    std::vector<Entry> list;
    for (const auto& [name, unit] : engine.units())
    {
        if (isIn(unit, states) && isNamed(unit, patterns))
        {
            list.push_back(entryOf(engine, unit));
        }
    }
    call.reply(list);
}

void addLists(dbus::Interface<Engine>& members)
{
    constexpr auto entries = "a(ssssssouso)";
    members.method("ListUnits", "", entries,
                   [](const Engine& engine, Call& call) {
                       answerList(engine, call, {}, {});
                   });
    members.method("ListUnitsFiltered", "as", entries,
                   [](const Engine& engine, Call& call) {
                       answerList(engine, call, call.read<Texts>(), {});
                   });
    members.method("ListUnitsByPatterns", "asas", entries,
                   [](const Engine& engine, Call& call) {
                       const auto states = call.read<Texts>();
                       answerList(engine, call, states, call.read<Texts>());
                   });
    members.method(
        "ListUnitsByNames", "as", entries, [](Engine& engine, Call& call) {
            std::vector<Entry> list;
            for (const auto& name : call.read<Texts>())
            {
                if (unitText::isValidName(name))
                {
                    list.push_back(entryOf(engine, engine.load(name)));
                }
            }
            call.reply(list);
        });
}

void addUnits(dbus::Interface<Engine>& members)
{
    members.method("LoadUnit", "s", "o", [](Engine& engine, Call& call) {
        call.reply(pathOf(engine.load(call.read<std::string>())));
    });
    members.method("GetUnit", "s", "o", [](Engine& engine, Call& call) {
        call.reply(pathOf(engine.loaded(call.read<std::string>())));
    });
    members.method("RefUnit", "s", "", [](Engine& engine, Call& call) {
        engine.refer(engine.load(call.read<std::string>()), call.sender());
        call.reply();
    });
    members.method("UnrefUnit", "s", "", [](Engine& engine, Call& call) {
        engine.clients().release(engine.loaded(call.read<std::string>()).name(),
                                 call.sender());
        call.reply();
    });
    members.method("ResetFailedUnit", "s", "", [](Engine& engine, Call& call) {
        engine.reset(engine.loaded(call.read<std::string>()));
        call.reply();
    });
    members.method("ResetFailed", "", "", [](Engine& engine, Call& call) {
        engine.resetAll();
        call.reply();
    });
}

/** The properties of an interface. */
class Properties
{
  public:
    explicit Properties(dbus::Interface<Unit>& members) : members(members) {}

    /** One that does not change while the unit file stays. */
    template <typename Get>
    void fixed(const char* name, Get get)
    {
        members.property(name, Changes::never, get);
    }

    /** One that is the same for every flash unit. */
    template <typename Value>
    void always(const char* name, Value value)
    {
        fixed(name, [value](const Unit&) { return value; });
    }

    void always(const char* name, const char* text)
    {
        always(name, std::string(text));
    }

    template <typename Get>
    void untold(const char* name, Get get)
    {
        members.property(name, Changes::untold, get);
    }

    template <typename Get>
    void told(const char* name, Get get)
    {
        members.property(name, Changes::told, get);
    }

    /** A moment, by both clocks. */
    template <typename Get>
    void moment(const std::string& name, Get get)
    {
        members.property(name, Changes::told, [get](const Unit& unit) {
            return get(unit).realtime;
        });
        members.property(
            name + "Monotonic", Changes::told,
            [get](const Unit& unit) { return get(unit).monotonic; });
    }

    /** As above, of its state. */
    void moment(const std::string& name, Moment Unit::State::* member)
    {
        moment(name,
               [member](const Unit& unit) { return unit.state().*member; });
    }

    /** Conditions or assertions: type, whether one of these suffices, whether
     *  negated, parameter, and how it came out.
     */
    void checks(const char* name, std::vector<Unit::Check> Unit::State::* list)
    {
        using Told =
            std::tuple<std::string, bool, bool, std::string, std::int32_t>;
        members.property(name, Changes::withoutValue, [list](const Unit& unit) {
            std::vector<Told> told;
            for (const auto& [condition, state] : unit.state().*list)
            {
                told.emplace_back(condition.type, condition.triggers,
                                  condition.isNegated, condition.parameter,
                                  state);
            }
            return told;
        });
    }

    /** Commands: program, words, whether a failure is ignored, and how it ran
     *  last.
     */
    void commands(const char* name,
                  std::vector<Unit::Command> Unit::State::* list)
    {
        using Told = std::tuple<std::string, Texts, bool, std::uint64_t,
                                std::uint64_t, std::uint64_t, std::uint64_t,
                                std::uint32_t, std::int32_t, std::int32_t>;
        members.property(name, Changes::withoutValue, [list](const Unit& unit) {
            std::vector<Told> told;
            for (const auto& ran : unit.state().*list)
            {
                const auto& words = ran.command.words;
                told.emplace_back(
                    words.front(), words, ran.command.ignoresFailure,
                    ran.start.realtime, ran.start.monotonic, ran.exit.realtime,
                    ran.exit.monotonic, ran.process, ran.code, ran.status);
            }
            return told;
        });
    }

  private:
    dbus::Interface<Unit>& members;
};

constexpr auto infinite = std::numeric_limits<std::uint64_t>::max();

std::uint64_t microsecondsOf(const UnitFile::Limit& limit)
{
    return limit ? static_cast<std::uint64_t>(limit->count()) : infinite;
}

/** Whether systemd takes up anything of the unit's file, good or bad. */
bool isRead(const Unit& unit)
{
    return unit.file().loadState == "loaded" ||
           unit.file().loadState == "bad-setting";
}

/** The kind of an output setting: "append", "null", "journal". */
std::string kindOf(const std::string& output, const char* usual)
{
    return output.empty() ? usual : output.substr(0, output.find(':'));
}

void addNature(Properties& all)
{
    all.fixed("Id", [](const Unit& unit) { return unit.name(); });
    all.fixed("Names", [](const Unit& unit) { return Texts{unit.name()}; });
    all.untold("Following", [](const Unit&) { return std::string(); });
    all.always("Documentation", Texts());
    all.always("TriggeredBy", Texts());
    all.always("DropInPaths", Texts());
    all.always("SourcePath", "");
    all.always("Transient", false);
    all.fixed("CanStart", [](const Unit& unit) { return !loadErrorOf(unit); });
    all.always("CanStop", true);
    all.always("CanReload", false);
    all.always("CanIsolate", false);
    all.always("StartLimitBurst", std::uint32_t{5});
    all.always("StartLimitIntervalUSec", std::uint64_t{10000000});
    all.always("CollectMode", "inactive");
    all.fixed("Requires",
              [](const Unit& unit) { return unit.file().requirements; });
    all.fixed("Description",
              [](const Unit& unit) { return unit.file().description; });
    all.fixed("LoadState",
              [](const Unit& unit) { return unit.file().loadState; });
    all.fixed("LoadError", [](const Unit& unit) {
        const auto error = loadErrorOf(unit);
        return error ? std::tuple(error->name(), std::string(error->what()))
                     : std::tuple<std::string, std::string>();
    });
    all.fixed("FragmentPath",
              [](const Unit& unit) { return unit.file().path.string(); });
}

} // namespace

dbus::Interface<BuiltinEngine> manager(bool answersNumber)
{
    dbus::Interface<Engine> members("org.freedesktop.systemd1.Manager");
    addJobs(members, answersNumber);
    addUnits(members);
    addLists(members);
    members.method("Subscribe", "", "", [](Engine& engine, const Call& call) {
        engine.clients().subscribe(call.sender());
        call.reply();
    });
    members.method("Unsubscribe", "", "", [](Engine& engine, const Call& call) {
        engine.clients().unsubscribe(call.sender());
        call.reply();
    });
    members.method("Reload", "", "", [](Engine& engine, const Call& call) {
        engine.reload();
        call.reply();
    });
    members.signal("JobNew", "uos");
    members.signal("JobRemoved", "uoss");
    members.signal("UnitNew", "so");
    members.signal("UnitRemoved", "so");
    members.property("NNames", Changes::untold, [](const Engine& engine) {
        return static_cast<std::uint32_t>(engine.units().size());
    });
    members.property("NJobs", Changes::untold, [](const Engine& engine) {
        return static_cast<std::uint32_t>(engine.jobs().size());
    });
    return members;
}

dbus::Interface<BuiltinUnit> unit()
{
    dbus::Interface<Unit> members("org.freedesktop.systemd1.Unit");
    Properties all(members);
    addNature(all);
    all.told("ActiveState", [](const Unit& u) { return u.state().active; });
    all.told("SubState", [](const Unit& u) { return u.state().sub; });
    all.told("Job", [](const Unit& unit) {
        return std::tuple(unit.job, BuiltinJob::pathOf(unit.job));
    });
    all.told("ConditionResult",
             [](const Unit& u) { return u.state().conditionResult; });
    all.told("AssertResult",
             [](const Unit& u) { return u.state().assertResult; });
    all.told("InvocationID",
             [](const Unit& u) { return u.state().invocation; });
    all.checks("Conditions", &Unit::State::conditions);
    all.checks("Asserts", &Unit::State::asserts);
    all.moment("StateChangeTimestamp", &Unit::State::change);
    all.moment("InactiveExitTimestamp", &Unit::State::inactiveExit);
    all.moment("ActiveEnterTimestamp", &Unit::State::activeEnter);
    all.moment("ActiveExitTimestamp", &Unit::State::activeExit);
    all.moment("InactiveEnterTimestamp", &Unit::State::inactiveEnter);
    all.moment("ConditionTimestamp", &Unit::State::conditionTime);
    all.moment("AssertTimestamp", &Unit::State::assertTime);
    return members;
}

dbus::Interface<BuiltinUnit> service()
{
    dbus::Interface<Unit> members("org.freedesktop.systemd1.Service");
    Properties all(members);
    all.fixed("Type", [](const Unit& unit) { return unit.file().type; });
    all.always("Restart", "no");
    all.always("KillMode", "control-group");
    all.always("KillSignal", std::int32_t{SIGTERM});
    all.fixed("RemainAfterExit",
              [](const Unit& unit) { return unit.file().remainsAfterExit; });
    all.fixed("TimeoutStartUSec", [](const Unit& unit) {
        return microsecondsOf(unit.file().timeoutStart);
    });
    all.fixed("TimeoutStopUSec", [](const Unit& unit) {
        return microsecondsOf(unit.file().timeoutStop);
    });
    all.fixed("SuccessExitStatus", [](const Unit& unit) {
        return std::tuple(unit.file().successStatuses,
                          std::vector<std::int32_t>());
    });
    all.fixed("Environment",
              [](const Unit& unit) { return unit.file().environment; });
    all.fixed("StandardOutput", [](const Unit& unit) {
        return kindOf(unit.file().standardOutput,
                      isRead(unit) ? "journal" : "inherit");
    });
    all.fixed("StandardError", [](const Unit& unit) {
        return kindOf(unit.file().standardError, "inherit");
    });
    all.told("Result", [](const Unit& unit) { return unit.state().result; });
    all.commands("ExecCondition", &Unit::State::execCondition);
    all.commands("ExecStartPre", &Unit::State::execStartPre);
    all.commands("ExecStart", &Unit::State::execStart);
    all.told("MainPID", [](const Unit& unit) { return unit.mainProcess(); });
    all.told("ControlPID",
             [](const Unit& unit) { return unit.controlProcess(); });
    all.told("ExecMainPID",
             [](const Unit& unit) { return unit.state().main.process; });
    all.told("ExecMainCode",
             [](const Unit& unit) { return unit.state().main.code; });
    all.told("ExecMainStatus",
             [](const Unit& unit) { return unit.state().main.status; });
    all.moment("ExecMainStartTimestamp",
               [](const Unit& unit) { return unit.state().main.start; });
    all.moment("ExecMainExitTimestamp",
               [](const Unit& unit) { return unit.state().main.exit; });
    return members;
}

dbus::Interface<BuiltinJob> job()
{
    using Job = const BuiltinJob;
    dbus::Interface<BuiltinJob> members("org.freedesktop.systemd1.Job");
    members.property("Id", Changes::never, [](Job& job) { return job.id; });
    members.property("Unit", Changes::never, [](Job& job) {
        return std::tuple(job.unit, ObjectPath(unitText::objectPath(job.unit)));
    });
    members.property("JobType", Changes::never,
                     [](Job& job) { return job.type(); });
    members.property("State", Changes::told,
                     [](Job& job) { return job.state(); });
    return members;
}

} // namespace bmcsim::builtinInterfaces
