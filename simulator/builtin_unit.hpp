// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "moment.hpp"
#include "private_directory.hpp"
#include "unit_file.hpp"

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace bmcsim
{

/** A service that the built-in manager runs as systemd does. It knows neither
 *  jobs nor the bus.
 */
class BuiltinUnit
{
  public:
    /** A condition or an assertion, and how it came out last: 1: it held,
     *  -1: it did not, 0: it was not looked at.
     */
    struct Check
    {
        UnitFile::Condition condition;
        std::int32_t state = 0;
    };

    /** A command, and how it ran last. */
    struct Command
    {
        UnitFile::Command command;
        Moment start;
        Moment exit;
        std::uint32_t process = 0;
        /** CLD_EXITED, CLD_KILLED or CLD_DUMPED; 0 where it has not ended. */
        std::int32_t code = 0;
        /** Its exit status, or the signal's number. */
        std::int32_t status = 0;
    };

    /** What systemd tells of a unit. */
    struct State
    {
        std::string active = "inactive";
        std::string sub = "dead";
        std::string result = "success";
        bool conditionResult = false;
        bool assertResult = false;
        std::vector<std::uint8_t> invocation;
        Command main;
        Moment change;
        Moment inactiveExit;
        Moment activeEnter;
        Moment activeExit;
        Moment inactiveEnter;
        Moment conditionTime;
        Moment assertTime;
        std::vector<Check> conditions;
        std::vector<Check> asserts;
        std::vector<Command> execCondition;
        std::vector<Command> execStartPre;
        std::vector<Command> execStart;
    };

    /** What became of a start. */
    enum class Start
    {
        begun,
        already,      /**< it is active */
        later,        /**< it must stop first */
        skipped,      /**< a condition does not hold */
        assertFailed, /**< an assertion does not hold */
        failed,       /**< it was started too often, or no process is left */
    };

    BuiltinUnit(PrivateDirectory directory, std::string name);
    ~BuiltinUnit();

    BuiltinUnit(const BuiltinUnit&) = delete;
    BuiltinUnit& operator=(const BuiltinUnit&) = delete;

    /** Reads its file anew. */
    void reload();

    Start start();

    /** Begins to stop it, if it runs. */
    void stop();

    /** As `stop`, where it has taken longer than it may; whether it has. */
    bool stopIfLate();

    /** When to call `stopIfLate`, if ever. */
    std::optional<std::chrono::steady_clock::time_point> deadline() const
    {
        return limit;
    }

    /** A child of the simulated BMC was reaped. If it was a process of this
     *  unit, the unit changes at the next `takeEnd` only.
     */
    void reaped(pid_t child, int status);

    /** Goes on after the end of its process; whether that has ended. */
    bool takeEnd();

    /** Forgets that it failed. */
    void reset();

    bool isIdle() const
    {
        return now.active == "inactive" || now.active == "failed";
    }

    bool isStopping() const
    {
        return now.active == "deactivating";
    }

    const std::string& name() const
    {
        return id;
    }

    const UnitFile& file() const
    {
        return unitFile;
    }

    const State& state() const
    {
        return now;
    }

    std::uint32_t mainProcess() const;
    std::uint32_t controlProcess() const;

    /** Its job, 0 for no job. */
    std::uint32_t job = 0;

  private:
    enum class Step
    {
        condition,
        pre,
        main,
    };

    std::vector<Command>& commandsOf(Step step);
    Command& current();

    bool isMain() const
    {
        return step == Step::main;
    }

    bool areMet(std::vector<Check>& checks);
    bool isTooOften();
    void enter(const std::string& active, const std::string& sub);
    void ended(int status);
    void end();
    void endGroup();
    void runNext();
    void run(Command& command);
    void afterSuccess();
    void note(const std::string& failure);
    std::string failureOf(int status) const;
    void signalAll(int number) const;
    void limitTo(const UnitFile::Limit& time);

    PrivateDirectory directory;
    std::string id;
    UnitFile unitFile;
    State now;

    pid_t process = -1;
    /** How the process ended that was reaped. */
    std::optional<int> endStatus;
    /** The process group of its programs and of what they leave; -1 if it is
     *  empty.
     */
    pid_t group = -1;
    Step step = Step::condition;
    std::size_t index = 0;
    std::optional<std::chrono::steady_clock::time_point> limit;
    std::deque<std::chrono::steady_clock::time_point> starts;
};

} // namespace bmcsim
