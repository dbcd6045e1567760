// SPDX-License-Identifier: Apache-2.0
#include "simulation.hpp"

#include "bytes.hpp"

#include <signal.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace test
{

/** The simulator; a native one, if there is one, where this test runs on an
 *  emulated processor, for that can neither make namespaces nor be systemd's.
 */
static std::string simulatorProgram()
{
    const auto* native = std::getenv("WEXA_NATIVE_BMCSIM");
    return native != nullptr ? native : fromEnvironment("WEXA_BMCSIM");
}

static std::vector<std::string>
runUntilTold(const std::vector<std::string>& options)
{
    std::vector<std::string> command{simulatorProgram(), "run"};
    command.insert(command.end(), options.begin(), options.end());
    for (const auto* word :
         {"--", "sh", "-c", "echo in $WEXA_BMCSIM_DIR.; exec sleep infinity"})
    {
        command.emplace_back(word);
    }
    return command;
}

Simulation::Simulation(const std::vector<std::string>& options) :
    simulator(runUntilTold(options))
{
    const auto said = simulator.awaitOutput(".\n");
    where = said.substr(3, said.size() - 5);
}

std::vector<std::string> Simulation::environment() const
{
    return {"WEXA_BMCSIM_DIR=" + where, "XDG_RUNTIME_DIR=" + where + "/run",
            "SYSTEMCTL_FORCE_BUS=1", "DBUS_SYSTEM_BUS_ADDRESS=" + busAddress(),
            "DBUS_SESSION_BUS_ADDRESS=" + busAddress()};
}

Completed Simulation::run(std::vector<std::string> command) const
{
    if (command.front() == "wexa-fwmgr")
    {
        command.front() = fromEnvironment("WEXA_FWMGR");
    }
    if (command.front() == "wexa-bmcsim")
    {
        command.front() = simulatorProgram();
    }
    return test::run(command, environment());
}

void Simulation::set(const std::string& what, const std::string& value) const
{
    const auto done = run({"wexa-bmcsim", "set", what, value});
    if (done != Completed{0, "", ""})
    {
        throw std::runtime_error(done.err);
    }
}

nlohmann::json Simulation::state() const
{
    return nlohmann::json::parse(run({"wexa-bmcsim", "state", "--json"}).out);
}

Completed Simulation::call(const std::vector<std::string>& words) const
{
    std::vector<std::string> command{"busctl", "--address=" + busAddress(),
                                     "call"};
    command.insert(command.end(), words.begin(), words.end());
    return run(command);
}

void Simulation::replaceUnit(const std::string& name,
                             const std::string& sections) const
{
    writeBytes(where + "/units/" + name, sections);
    reloadUnits();
}

void Simulation::reloadUnits() const
{
    const auto done =
        call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
              "org.freedesktop.systemd1.Manager", "Reload"});
    if (done.status != 0)
    {
        throw std::runtime_error(done.err);
    }
}

std::string Simulation::flash(const std::string& partition) const
{
    return bytesOf(where + "/flash/" + partition);
}

void Simulation::awaitFlash(const std::string& partition) const
{
    const auto file = where + "/flash/" + partition;
    awaitTrue(file, [&] {
        std::error_code missing;
        return std::filesystem::file_size(file, missing) > 0 && !missing;
    });
}

void Simulation::awaitFlashed(const std::string& partition,
                              const std::string& bytes) const
{
    awaitFlash(partition);
    awaitTrue("the whole of " + partition,
              [&] { return flash(partition) == bytes; });
}

void Simulation::awaitIdle(const std::string& unit) const
{
    awaitTrue("the end of " + unit, [&] {
        const auto listed =
            call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                  "org.freedesktop.systemd1.Manager", "ListUnitsByPatterns",
                  "asas", "2", "activating", "deactivating", "1", unit});
        return listed.out == "a(ssssssouso) 0\n";
    });
}

Completed Simulation::end()
{
    simulator.signal(SIGTERM);
    return simulator.wait();
}

} // namespace test
