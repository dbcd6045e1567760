// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "dbus/object.hpp"
#include "private_directory.hpp"

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bmcsim
{

/** When something happened, in microseconds: since 1970, and since the machine
 *  started. Zero before it has.
 */
struct Moment
{
    static Moment now();

    std::uint64_t realtime = 0;
    std::uint64_t monotonic = 0;
};

/** An instance of a flash template, and the object on the bus that describes
 *  it as systemd's does.
 *
 *  What it does is to be followed by `tellChanges`, at the place that the
 *  signal has among those of the manager.
 */
class BuiltinUnit
{
  public:
    BuiltinUnit(const dbus::Connection& bus, PrivateDirectory place,
                std::string id);
    ~BuiltinUnit();

    BuiltinUnit(const BuiltinUnit&) = delete;
    BuiltinUnit& operator=(const BuiltinUnit&) = delete;

    /** Starts the flash program.
     *
     *  @return false where there can be no process; the unit has failed then
     */
    bool start();

    /** Asks the flash program to end. */
    void stop();

    /** The same where it has taken longer than it may; whether it has. */
    bool stopIfLate();

    /** The flash program has ended. */
    void ended(int status);

    /** When to call `stopIfLate`, if at all. */
    std::optional<std::chrono::steady_clock::time_point> deadline() const;

    /** Signals the properties that can change. */
    void tellChanges() const;

    bool runs() const
    {
        return process > 0;
    }

    bool isProcess(pid_t candidate) const
    {
        return runs() && process == candidate;
    }

    bool hasSucceeded() const
    {
        return result == "success";
    }

    const std::string& id() const
    {
        return name;
    }

    dbus::ObjectPath path() const;

    /** As the manager lists it. */
    using Entry = std::tuple<std::string, std::string, std::string, std::string,
                             std::string, std::string, dbus::ObjectPath,
                             std::uint32_t, std::string, dbus::ObjectPath>;
    Entry entry() const;

    /** Whether it is in one of these states, and whether its name matches one
     *  of these patterns. An empty list matches every unit.
     */
    bool isIn(const std::vector<std::string>& states) const;
    bool isNamed(const std::vector<std::string>& patterns) const;

    /** The job that waits for the unit to start, and the one that waits for it
     *  to stop; 0 for no job.
     */
    std::uint32_t startJob = 0;
    std::uint32_t stopJob = 0;

  private:
    using Command =
        std::tuple<std::string, std::vector<std::string>, bool, std::uint64_t,
                   std::uint64_t, std::uint64_t, std::uint64_t, std::uint32_t,
                   std::int32_t, std::int32_t>;

    static dbus::Interface<BuiltinUnit> unitMembers();
    static dbus::Interface<BuiltinUnit> serviceMembers();
    static void addMainProcess(dbus::Interface<BuiltinUnit>& members);
    void enter(const std::string& active, const std::string& sub);
    std::tuple<std::uint32_t, dbus::ObjectPath> job() const;
    std::vector<Command> commands() const;
    std::uint64_t timeout() const;
    std::string description() const;

    PrivateDirectory directory;
    std::string name;
    std::string instance;

    std::string activeState = "inactive";
    std::string subState = "dead";
    Moment stateChange;
    std::vector<std::uint8_t> invocation;
    std::string result = "success";
    pid_t process = -1;
    std::uint32_t mainProcess = 0;
    std::int32_t exitCode = 0;
    std::int32_t exitStatus = 0;
    Moment startTime;
    Moment exitTime;
    std::chrono::steady_clock::time_point lastInstant;
    bool isLate = false;

    const dbus::Connection& bus;
    dbus::Offer unitOffer;
    dbus::Offer serviceOffer;
};

/** The object of a job, or "/" for 0. */
dbus::ObjectPath jobPath(std::uint32_t job);

} // namespace bmcsim
