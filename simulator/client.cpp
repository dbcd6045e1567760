// SPDX-License-Identifier: Apache-2.0
#include "client.hpp"

#include "control.hpp"
#include "exit_status.hpp"
#include "private_directory.hpp"

#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <stdexcept>

namespace bmcsim
{

using nlohmann::json;

/** The bus of the simulated BMC in `directory`, or of the one that this
 *  program runs in.
 */
static std::unique_ptr<sdbus::IConnection> connect(const std::string& directory)
{
    const auto* const inside = std::getenv("WEXA_BMCSIM_DIR");
    const std::string surrounding = inside == nullptr ? "" : inside;
    const PrivateDirectory where{directory.empty() ? surrounding : directory};
    if (where.path().empty())
    {
        throw std::runtime_error("no simulated BMC here; run inside "
                                 "'wexa-bmcsim run', or name its directory "
                                 "with --dir");
    }
    if (!std::filesystem::is_socket(where.busSocket()))
    {
        throw std::runtime_error("no simulated BMC runs in " +
                                 where.path().string());
    }
    return sdbus::createSessionBusConnectionWithAddress(where.busAddress());
}

/** Calls `ask` with the simulator's control object; the exit status. */
template <typename Ask>
static int asked(const std::string& directory, Ask&& ask)
try
{
    const auto connection = connect(directory);
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
        simulator.callMethod("Set")
            .onInterface(control::interface)
            .withArguments(what, value);
    });
}

static void printCalls(const json& calls)
{
    auto separator = "";
    for (const auto& [member, count] : calls.items())
    {
        std::cout << separator << member << ' ' << count;
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
        printCalls(service["calls"]);
        std::cout << '\n';
        for (const auto& [name, value] : service["values"].items())
        {
            row("  " + name) << value.get<std::string>() << '\n';
        }
    }
    const auto& flash = state["flash"];
    row("flash") << flash["behaviour"].get<std::string>() << ", "
                 << flash["time-ms"] << " ms, given up after "
                 << flash["timeout-ms"] << " ms\n";
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

} // namespace bmcsim
