// SPDX-License-Identifier: Apache-2.0
#include "builtin_unit.hpp"

#include "child.hpp"

#include <signal.h>
#include <sys/random.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace bmcsim
{

using std::chrono::steady_clock;

template <typename To, typename From>
static std::vector<To> freshOf(const std::vector<From>& list)
{
    std::vector<To> made;
    for (const auto& each : list)
    {
        made.emplace_back();
        if constexpr (std::is_same_v<To, BuiltinUnit::Check>)
        {
            made.back().condition = each;
        }
        else
        {
            made.back().command = each;
        }
    }
    return made;
}

BuiltinUnit::BuiltinUnit(PrivateDirectory directory, std::string name) :
    directory(std::move(directory)), id(std::move(name))
{
    reload();
}

BuiltinUnit::~BuiltinUnit()
{
    endGroup();
    bmcsim::end(process);
}

void BuiltinUnit::reload()
{
    unitFile = UnitFile::load(directory.units(), id);
    now.conditions = freshOf<Check>(unitFile.conditions);
    now.asserts = freshOf<Check>(unitFile.asserts);
    // What runs is what was read before.
    if (process < 0 && !endStatus)
    {
        now.execCondition = freshOf<Command>(unitFile.execCondition);
        now.execStartPre = freshOf<Command>(unitFile.execStartPre);
        now.execStart = freshOf<Command>(unitFile.execStart);
    }
}

void BuiltinUnit::enter(const std::string& active, const std::string& sub)
{
    const auto is = [](const std::string& state, bool on) {
        return on ? state == "active" || state == "reloading"
                  : state == "inactive" || state == "failed";
    };
    const auto before = std::exchange(now.active, active);
    now.sub = sub;
    now.change = Moment::now();
    const auto mark = [&](Moment& moment, bool changes) {
        moment = changes ? now.change : moment;
    };
    mark(now.inactiveExit, is(before, false) && !is(active, false));
    mark(now.inactiveEnter, !is(before, false) && is(active, false));
    mark(now.activeEnter, !is(before, true) && is(active, true));
    mark(now.activeExit, is(before, true) && !is(active, true));
}

/** An identifier that no other run has. */
static std::vector<std::uint8_t> newInvocation()
{
    std::vector<std::uint8_t> bytes(16);
    checked(getrandom(bytes.data(), bytes.size(), 0), "getrandom");
    return bytes;
}

/** Whether all hold, and one of those with a "|", if there are any. */
bool BuiltinUnit::areMet(std::vector<Check>& checks)
{
    auto isAny = false;
    auto doesAnyHold = false;
    for (auto& check : checks)
    {
        const auto holds = check.condition.holds();
        check.state = holds ? 1 : -1;
        isAny = isAny || check.condition.triggers;
        doesAnyHold = doesAnyHold || (check.condition.triggers && holds);
        if (!holds && !check.condition.triggers)
        {
            return false;
        }
    }
    return !isAny || doesAnyHold;
}

bool BuiltinUnit::isTooOften()
{
    constexpr std::size_t most = 5;
    constexpr std::chrono::seconds span{10};
    const auto instant = steady_clock::now();
    while (!starts.empty() && starts.front() + span <= instant)
    {
        starts.pop_front();
    }
    if (starts.size() >= most)
    {
        return true;
    }
    starts.push_back(instant);
    return false;
}

BuiltinUnit::Start BuiltinUnit::start()
{
    if (isStopping())
    {
        return Start::later;
    }
    if (now.active == "active")
    {
        return Start::already;
    }
    if (now.active == "activating")
    {
        // Its job was canceled; the new one waits for the same start.
        return Start::begun;
    }
    // The job may have waited while the file changed.
    if (unitFile.loadState != "loaded")
    {
        return Start::failed;
    }
    if (isTooOften())
    {
        note("start-limit-hit");
        enter("failed", "failed");
        return Start::failed;
    }
    now.conditionTime = Moment::now();
    now.conditionResult = areMet(now.conditions);
    if (!now.conditionResult)
    {
        return Start::skipped;
    }
    now.assertTime = Moment::now();
    now.assertResult = areMet(now.asserts);
    if (!now.assertResult)
    {
        return Start::assertFailed;
    }
    now.result = "success";
    now.main = {};
    now.invocation = newInvocation();
    now.execCondition = freshOf<Command>(unitFile.execCondition);
    now.execStartPre = freshOf<Command>(unitFile.execStartPre);
    now.execStart = freshOf<Command>(unitFile.execStart);
    step = Step::condition;
    index = 0;
    limitTo(unitFile.timeoutStart);
    runNext();
    return now.active == "failed" ? Start::failed : Start::begun;
}

std::vector<BuiltinUnit::Command>& BuiltinUnit::commandsOf(Step which)
{
    return which == Step::condition ? now.execCondition
           : which == Step::pre     ? now.execStartPre
                                    : now.execStart;
}

BuiltinUnit::Command& BuiltinUnit::current()
{
    return commandsOf(step)[index];
}

/** Runs the command that is next, or ends the start. */
void BuiltinUnit::runNext()
{
    while (index >= commandsOf(step).size())
    {
        if (isMain())
        {
            afterSuccess();
            return;
        }
        step = step == Step::condition ? Step::pre : Step::main;
        index = 0;
    }
    try
    {
        run(current());
    }
    catch (const std::exception&)
    {
        note("resources");
        end();
        return;
    }
    if (isMain() && unitFile.type == "simple")
    {
        limit.reset();
        enter("active", "running");
        return;
    }
    enter("activating", step == Step::condition ? "condition"
                        : step == Step::pre     ? "start-pre"
                                                : "start");
}

void BuiltinUnit::afterSuccess()
{
    limit.reset();
    if (unitFile.remainsAfterExit)
    {
        enter("active", "exited");
        return;
    }
    end();
}

/** The file that "append:/path" names. */
static std::string logFrom(const std::string& output,
                           const std::string& otherwise)
{
    return output.empty() ? otherwise : output.substr(output.find('/'));
}

void BuiltinUnit::run(Command& command)
{
    auto words = command.command.words;
    for (auto& word : words)
    {
        for (auto at = word.find("$$"); at != std::string::npos;
             at = word.find("$$", at + 1))
        {
            word.erase(at, 1);
        }
    }
    std::vector<std::string> environment{"PATH=/usr/bin:/bin"};
    for (const auto& variable : unitFile.environment)
    {
        // Only a real systemd has the mounts that it describes.
        if (!variable.starts_with("WEXA_BMCSIM_MOUNTS="))
        {
            setVariable(environment, variable);
        }
    }
    const auto enterGroup = [this](pid_t entering) {
        if (group < 0 || setpgid(entering, group) < 0)
        {
            setpgid(entering, 0);
        }
    };
    Program program{
        words, environment, logFrom(unitFile.standardOutput, "/dev/null"),
        [enterGroup] { enterGroup(0); }, logFrom(unitFile.standardError, "")};
    // The statuses that systemd gives.
    program.notExecutable = 203;
    program.notLogged = 209;
    program.errorsNotLogged = 222;
    process = bmcsim::start(program);
    // Whichever of the two is first.
    enterGroup(process);
    group = getpgid(process);
    command.process = static_cast<std::uint32_t>(process);
    command.start = Moment::now();
    if (isMain())
    {
        now.main = command;
    }
}

std::uint32_t BuiltinUnit::mainProcess() const
{
    return process > 0 && isMain() ? static_cast<std::uint32_t>(process) : 0;
}

std::uint32_t BuiltinUnit::controlProcess() const
{
    return process > 0 && !isMain() ? static_cast<std::uint32_t>(process) : 0;
}

void BuiltinUnit::signalAll(int number) const
{
    if (group > 0)
    {
        kill(-group, number);
    }
    // A command that joined the group of an earlier one may leave it.
    if (process > 0 && getpgid(process) != group)
    {
        kill(getpgid(process) == process ? -process : process, number);
    }
}

void BuiltinUnit::endGroup()
{
    signalAll(SIGKILL);
    group = -1;
}

void BuiltinUnit::limitTo(const UnitFile::Limit& time)
{
    limit = time ? std::optional(steady_clock::now() + *time) : std::nullopt;
}

void BuiltinUnit::stop()
{
    if (isStopping() || isIdle())
    {
        return;
    }
    if (process < 0)
    {
        end();
        return;
    }
    signalAll(SIGTERM);
    enter("deactivating", "stop-sigterm");
    limitTo(unitFile.timeoutStop);
}

bool BuiltinUnit::stopIfLate()
{
    if (!limit || steady_clock::now() < *limit)
    {
        return false;
    }
    note("timeout");
    if (isStopping())
    {
        signalAll(SIGKILL);
        enter("deactivating", "stop-sigkill");
        limitTo(unitFile.timeoutStop);
    }
    else
    {
        stop();
    }
    return true;
}

/** Remembers the first failure. */
void BuiltinUnit::note(const std::string& failure)
{
    if (now.result == "success")
    {
        now.result = failure;
    }
}

/** What systemd calls the end of a process; "success" for a good one. */
std::string BuiltinUnit::failureOf(int status) const
{
    const auto isIn = [](const auto& list, int number) {
        return std::ranges::find(list, number) != std::end(list);
    };
    if (WIFEXITED(status))
    {
        const auto code = WEXITSTATUS(status);
        return code == 0 || isIn(unitFile.successStatuses, code) ? "success"
                                                                 : "exit-code";
    }
    constexpr std::array good{SIGHUP, SIGINT, SIGTERM, SIGPIPE};
    const auto isDaemon = unitFile.type != "oneshot" && isMain();
    if (isDaemon && isIn(good, WTERMSIG(status)))
    {
        return "success";
    }
    return WCOREDUMP(status) ? "core-dump" : "signal";
}

void BuiltinUnit::reaped(pid_t child, int status)
{
    if (process > 0 && child == process)
    {
        process = -1;
        endStatus = status;
    }
    // The numbers of a process and of a group are free for others now.
    if (group > 0 && kill(-group, 0) < 0 && errno == ESRCH)
    {
        group = -1;
    }
}

bool BuiltinUnit::takeEnd()
{
    const auto status = std::exchange(endStatus, std::nullopt);
    if (status)
    {
        ended(*status);
    }
    return status.has_value();
}

void BuiltinUnit::ended(int status)
{
    auto& command = current();
    command.exit = Moment::now();
    command.code = WIFEXITED(status)   ? CLD_EXITED
                   : WCOREDUMP(status) ? CLD_DUMPED
                                       : CLD_KILLED;
    command.status = WIFEXITED(status) ? WEXITSTATUS(status) : WTERMSIG(status);
    if (isMain())
    {
        now.main = command;
    }
    else
    {
        // As systemd: only the programs of ExecStart may leave something.
        endGroup();
    }
    auto failure =
        command.command.ignoresFailure ? "success" : failureOf(status);
    constexpr auto worst = 255;
    if (step == Step::condition && failure == "exit-code" &&
        command.status < worst)
    {
        failure = "exec-condition";
        now.conditionResult = false;
    }
    if (isStopping() || failure != "success")
    {
        if (failure != "success")
        {
            note(failure);
        }
        end();
        return;
    }
    ++index;
    runNext();
}

/** Is dead, or has failed. */
void BuiltinUnit::end()
{
    limit.reset();
    endGroup();
    const auto isGood =
        now.result == "success" || now.result == "exec-condition";
    enter(isGood ? "inactive" : "failed", isGood ? "dead" : "failed");
}

void BuiltinUnit::reset()
{
    starts.clear();
    if (now.active == "failed")
    {
        enter("inactive", "dead");
    }
    now.result = "success";
}

} // namespace bmcsim
