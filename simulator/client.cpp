// SPDX-License-Identifier: Apache-2.0
#include "client.hpp"

#include "bus_daemon.hpp"
#include "control.hpp"
#include "exit_status.hpp"
#include "private_directory.hpp"
#include "scenario.hpp"

#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <stdexcept>

namespace bmcsim
{

using nlohmann::json;

/** The only simulated BMC that runs on this machine. */
static PrivateDirectory onlyOneRunning()
{
    const auto running = PrivateDirectory::running();
    if (running.size() == 1)
    {
        return running.front();
    }
    std::string names;
    for (const auto& each : running)
    {
        names += "\n  " + each.path().string();
    }
    throw std::runtime_error(
        running.empty()
            ? "no simulated BMC runs; start one with wexa-bmcsim "
              "run -- COMMAND"
            : "several simulated BMCs run; name one with --dir:" + names);
}

/** The one in `directory`, or that this program runs in, or that runs. */
static PrivateDirectory meant(const std::string& directory)
{
    if (!directory.empty())
    {
        return PrivateDirectory{directory};
    }
    const auto* const inside = std::getenv("WEXA_BMCSIM_DIR");
    return inside == nullptr ? onlyOneRunning() : PrivateDirectory{inside};
}

static std::unique_ptr<sdbus::IConnection>
connectTo(const PrivateDirectory& where)
{
    if (!std::filesystem::is_socket(where.busSocket()))
    {
        throw std::runtime_error("no simulated BMC runs in " +
                                 where.path().string());
    }
    if (!listens(where.busSocket()))
    {
        throw std::runtime_error("the bus of the simulated BMC in " +
                                 where.path().string() + " is gone");
    }
    return sdbus::createSessionBusConnectionWithAddress(where.busAddress());
}

/** Calls `ask` with the simulator's control object; the exit status. */
template <typename Ask>
static int asked(const std::string& directory, Ask&& ask)
try
{
    const auto connection = connectTo(meant(directory));
    ask(*sdbus::createProxy(*connection, control::service, control::path));
    return EXIT_SUCCESS;
}

catch (const sdbus::Error& error)
{
    std::cerr << "wexa-bmcsim: " << error.getMessage() << std::endl;
    return exitStatus::refused;
}

catch (const std::exception& error)
{
    std::cerr << "wexa-bmcsim: " << error.what() << std::endl;
    return exitStatus::refused;
}

int setBehaviour(const std::string& directory, const std::string& what,
                 const std::string& value)
{
    return asked(directory, [&](sdbus::IProxy& simulator) {
        try
        {
            simulator.callMethod("Set")
                .onInterface(control::interface)
                .withArguments(what, value);
        }
        catch (const sdbus::Error& error)
        {
            // A bus that goes takes the answer along.
            if (what != "bus" || error.getName() == control::refusal)
            {
                throw;
            }
        }
    });
}

static void printCalls(const json& service)
{
    auto separator = "";
    for (const auto& [member, count] : service["calls"].items())
    {
        const auto last = service["last"][member].get<std::string>();
        std::cout << separator << member << ' ' << count
                  << (last.empty() ? "" : " (last: " + last + ")");
        separator = ", ";
    }
}

static void printTable(const json& state)
{
    const auto row = [](const std::string& name) -> std::ostream& {
        return std::cout << std::left << std::setw(20) << name;
    };
    row("directory") << state["directory"].get<std::string>() << '\n';
    row("manager") << state["manager"]["kind"].get<std::string>() << ", "
                   << state["manager"]["behaviour"].get<std::string>() << '\n';
    for (const auto& [label, service] : state["services"].items())
    {
        row(label) << service["behaviour"].get<std::string>()
                   << (service["calls"].empty() ? "" : "; calls: ");
        printCalls(service);
        std::cout << '\n';
        for (const auto& [name, value] : service["values"].items())
        {
            row("  " + name) << value.get<std::string>() << '\n';
        }
    }
    const auto& flash = state["flash"];
    row("flash") << flash["behaviour"].get<std::string>() << ", units "
                 << flash["unit"].get<std::string>() << ", " << flash["time-ms"]
                 << " ms, given up after " << flash["timeout-ms"] << " ms\n";
    for (const auto& [partition, content] : flash["partitions"].items())
    {
        row("  " + partition)
            << content["bytes"] << " bytes, "
            << (content["version"].is_null()
                    ? "no whole image"
                    : "version " + content["version"].get<std::string>())
            << '\n';
    }
}

int printState(const std::string& directory, bool asJson)
{
    return asked(directory, [&](sdbus::IProxy& simulator) {
        std::string text;
        simulator.callMethod("State")
            .onInterface(control::interface)
            .storeResultsTo(text);
        const auto state = json::parse(text);
        if (asJson)
        {
            std::cout << state.dump(2) << '\n';
            return;
        }
        printTable(state);
    });
}

int listScenarios()
{
    for (const auto& [name, description, settings] : scenarios())
    {
        std::cout << std::left << std::setw(24) << name << description << '\n';
    }
    return EXIT_SUCCESS;
}

} // namespace bmcsim
