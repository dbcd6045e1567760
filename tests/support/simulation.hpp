// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process.hpp"

#include <nlohmann/json.hpp>

#include <map>
#include <string>
#include <vector>

namespace test
{

/** How often each member of a service was called. */
using Calls = std::map<std::string, int>;

/** A running simulated BMC, to which commands can be sent one after another. */
class Simulation
{
  public:
    /** @param options  of `wexa-bmcsim run` */
    explicit Simulation(const std::vector<std::string>& options = {});

    /** Runs a command inside; its first word may be wexa-fwmgr or wexa-bmcsim.
     */
    Completed run(std::vector<std::string> command) const;

    /** The environment of a command inside. */
    std::vector<std::string> environment() const;

    /** `wexa-bmcsim set`, which must succeed. */
    void set(const std::string& what, const std::string& value) const;

    /** What `wexa-bmcsim state --json` tells. */
    nlohmann::json state() const;

    /** The calls that a service got, by member. */
    Calls calls(const std::string& service) const
    {
        return state()["services"][service]["calls"];
    }

    /** `busctl call` of a method, with its arguments as busctl takes them. */
    Completed call(const std::vector<std::string>& words) const;

    /** Replaces the unit template of the BMC's flash by one whose [Unit] and
     *  [Service] sections are given, and has systemd take it up.
     */
    void replaceFlashUnit(const std::string& sections) const
    {
        replaceUnit("obmc-flash-bmc-rot2@.service", sections);
    }

    /** The same of any unit. */
    void replaceUnit(const std::string& name,
                     const std::string& sections) const;

    /** Has systemd take up what was changed of its units. */
    void reloadUnits() const;

    /** The bytes of the file that stands for a flash partition. */
    std::string flash(const std::string& partition) const;

    /** Waits until the flash program has begun to write to a partition. */
    void awaitFlash(const std::string& partition) const;

    /** Waits until a partition holds these bytes. */
    void awaitFlashed(const std::string& partition,
                      const std::string& bytes) const;

    /** Waits until a unit neither runs nor is about to. */
    void awaitIdle(const std::string& unit) const;

    const std::string& directory() const
    {
        return where;
    }

    std::string busAddress() const
    {
        return "unix:path=" + where + "/run/bus";
    }

    /** Asks the simulator to end, and waits for it. */
    Completed end();

    void signal(int number) const
    {
        simulator.signal(number);
    }

  private:
    Process simulator;
    std::string where;
};

} // namespace test
