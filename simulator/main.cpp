// SPDX-License-Identifier: Apache-2.0
#include "child.hpp"
#include "client.hpp"
#include "complaint.hpp"
#include "exit_status.hpp"
#include "flash_writer.hpp"
#include "run.hpp"
#include "scenario.hpp"

#include <CLI/CLI.hpp>
#include <plain.hpp>

#include <cstdlib>
#include <functional>
#include <map>

// wexa-bmcsim: a BMC on a desk.

namespace
{

using bmcsim::ManagerKind;

ManagerKind managerNamed(const std::string& name)
{
    return name == "systemd"   ? ManagerKind::systemd
           : name == "builtin" ? ManagerKind::builtin
                               : ManagerKind::automatic;
}

void declareRun(CLI::App& app, std::function<int()>& action)
{
    auto* run = app.add_subcommand(
        "run", "Run a command inside a new simulated BMC\n\n"
               "Example: wexa-bmcsim run -- wexa-fwmgr update bmc image");
    static std::string manager = "auto";
    static std::string bus;
    static std::string scenario;
    static std::vector<std::string> settings;
    static std::vector<std::string> command;
    run->add_option("--manager", manager,
                    "What runs the flash units: systemd, builtin, or auto (as "
                    "without this option): systemd where it can be had")
        ->check(CLI::IsMember({"auto", "systemd", "builtin"}))
        ->option_text("KIND");
    run->add_option("--bus", bus,
                    "Address of a bus that runs already, to live on")
        ->check([](const std::string& address) {
            return address.empty() ? "give the address of a bus, such as "
                                     "unix:path=/tmp/bus"
                                   : "";
        })
        ->option_text("ADDRESS");
    run->add_option("--scenario", scenario,
                    "What is wrong with it; wexa-bmcsim scenarios lists them")
        ->option_text("NAME");
    run->add_option("--set", settings,
                    "As the command set, from the start: security=refuse")
        ->option_text("NAME=VALUE")
        ->expected(1)
        ->take_all();
    run->add_option("COMMAND", command, "The command and its arguments")
        ->option_text(" ");
    run->positionals_at_end();
    run->final_callback([&action] {
        // Not required(), which would hide an unknown option's error.
        if (command.empty())
        {
            throw CLI::RequiredError("COMMAND");
        }
        bmcsim::Setup made;
        made.manager = managerNamed(manager);
        made.bus = bus;
        try
        {
            if (!scenario.empty())
            {
                made.initial = bmcsim::scenarioNamed(scenario).settings;
            }
            for (const auto& setting : settings)
            {
                made.initial.push_back(bmcsim::assignment(setting));
            }
        }
        catch (const std::invalid_argument& error)
        {
            throw CLI::ValidationError(error.what());
        }
        action = [made] { return bmcsim::runCommand(made, command); };
    });
}

void requireSetting(const std::string& text)
{
    try
    {
        bmcsim::assignment(text);
    }
    catch (const std::invalid_argument& error)
    {
        throw CLI::ValidationError(error.what());
    }
}

void declareSet(CLI::App& app, std::function<int()>& action)
{
    auto* set = app.add_subcommand(
        "set", "Change how a running simulated BMC behaves\n\n"
               "Example: wexa-bmcsim set security refuse\n\n"
               "security, fwinfo, host, settings, cpld, manager: normal, "
               "absent, refuse,\n  error, wrong-type, silent, slow\n"
               "security-offers, fwinfo-offers: which methods or properties, "
               "with commas\n"
               "board-id: 0 to 65535\n"
               "apply-time: OnReset, Immediate, OnStartUpdateRequest, or any "
               "other text\n"
               "cpld-bound: which components, with commas\n"
               "cpld-registry, cpld-device, cpld-version: see "
               "docs/simulator.md\n"
               "flash: normal, fail, corrupt, crash, hang\n"
               "flash-unit: honest, condition, ignored-failure, simple, "
               "no-timeout\n"
               "flash-time, flash-timeout: milliseconds\n"
               "bus: gone");
    static std::string directory;
    static std::string what;
    static std::string value;
    set->add_option("--dir", directory,
                    "Directory of the simulated BMC; for when several run")
        ->option_text("DIRECTORY");
    set->add_option("WHAT", what, "What to change")
        ->required()
        ->option_text(" ");
    set->add_option("VALUE", value, "Its behaviour or value")
        ->required()
        ->option_text(" ");
    set->callback([&action] {
        // D-Bus cannot carry every text.
        requireSetting(what + '=' + value);
        action = [] { return bmcsim::setBehaviour(directory, what, value); };
    });
}

void declareState(CLI::App& app, std::function<int()>& action)
{
    auto* state =
        app.add_subcommand("state", "Show a running simulated BMC\n\n"
                                    "Example: wexa-bmcsim state --json");
    static std::string directory;
    static bool json = false;
    state
        ->add_option("--dir", directory,
                     "Directory of the simulated BMC; for when several run")
        ->option_text("DIRECTORY");
    state->add_flag("--json", json, "One JSON value");
    state->callback([&action] {
        action = [] { return bmcsim::printState(directory, json); };
    });
}

void declareScenarios(CLI::App& app, std::function<int()>& action)
{
    auto* const list =
        app.add_subcommand("scenarios", "List what can be wrong with a "
                                        "simulated BMC, by name\n\n"
                                        "Example: wexa-bmcsim run --scenario "
                                        "flash-fails -- bash");
    list->callback([&action] { action = bmcsim::listScenarios; });
}

/** What the flash units run; not for people. */
void declareWriteFlash(CLI::App& app, std::function<int()>& action)
{
    auto* write = app.add_subcommand("write-flash", "")->group("");
    static std::string directory;
    static std::string instance;
    write->add_option("DIRECTORY", directory)->required();
    write->add_option("INSTANCE", instance)->required();
    write->callback([&action] {
        action = [] {
            const auto status = bmcsim::writeFlash(
                bmcsim::PrivateDirectory{directory}, instance);
            // A leak check at the exit would look at another process: /proc
            // may be that of the host.
            std::cout.flush();
            std::_Exit(status);
            return status;
        };
    });
}

} // namespace

/** Takes the command line apart; the exit status of what it asks for. */
static int carryOut(CLI::App& app, int argc, char** argv)
{
    std::function<int()> action;
    declareRun(app, action);
    declareSet(app, action);
    declareState(app, action);
    declareScenarios(app, action);
    declareWriteFlash(app, action);
    try
    {
        app.parse(argc, argv);
        if (!action)
        {
            throw CLI::RequiredError("a command: run, set, state or scenarios");
        }
    }
    catch (const CLI::Success& wanted)
    {
        return app.exit(wanted);
    }
    catch (const CLI::ParseError& error)
    {
        bmcsim::complain(plain::line(error.what()) +
                         "; see wexa-bmcsim --help");
        return bmcsim::exitStatus::wrongUsage;
    }
    return action();
}

int main(int argc, char** argv)
try
{
    // Later its file may have another name, or none.
    bmcsim::ownProgram();
    CLI::App app("A BMC on a desk: a private bus, the services of a platform "
                 "and flash units\nthat write files, around a command.",
                 "wexa-bmcsim");
    app.set_version_flag("--version", "wexa-bmcsim " WEXA_VERSION,
                         "Print the version");
    app.require_subcommand(0, 1);
    return carryOut(app, argc, argv);
}

catch (const std::exception& error)
{
    bmcsim::complain(plain::line(error.what()));
    return bmcsim::exitStatus::refused;
}
