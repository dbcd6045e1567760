// SPDX-License-Identifier: Apache-2.0
#include "client.hpp"

#include "bus_daemon.hpp"
#include "complaint.hpp"
#include "control.hpp"
#include "exit_status.hpp"
#include "private_directory.hpp"
#include "scenario.hpp"

#include <plain.hpp>

#include <cstdlib>
#include <iostream>
#include <stdexcept>

namespace bmcsim
{

using nlohmann::json;

static std::string shown(const PrivateDirectory& directory)
{
    return plain::line(directory.path().string());
}

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
        names += "\n  " + shown(each);
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

static dbus::Connection connectTo(const PrivateDirectory& where)
{
    if (!std::filesystem::is_socket(where.busSocket()))
    {
        throw std::runtime_error("no simulated BMC runs in " + shown(where));
    }
    if (!listens(where.busSocket()))
    {
        throw std::runtime_error("the bus of the simulated BMC in " +
                                 shown(where) + " is gone");
    }
    return dbus::Connection(where.busAddress());
}

/** Calls the simulator's control object with texts.
 *
 *  @param take  takes a function that calls and returns the answer
 *  @return the exit status
 */
template <typename Take>
static int asked(const std::string& directory, const char* member,
                 const std::vector<std::string>& arguments, Take&& take)
try
{
    const auto connection = connectTo(meant(directory));
    auto call = connection.newCall(control::service, control::path,
                                   control::interface, member);
    for (const auto& argument : arguments)
    {
        call.append(argument);
    }
    take([&] { return connection.ask(call); });
    return EXIT_SUCCESS;
}

catch (const dbus::Error& error)
{
    complain(plain::line(error.what()));
    return exitStatus::refused;
}

catch (const std::exception& error)
{
    complain(error.what());
    return exitStatus::refused;
}

int setBehaviour(const std::string& directory, const std::string& what,
                 const std::string& value)
{
    return asked(directory, "Set", {what, value}, [&](auto&& answer) {
        try
        {
            answer();
        }
        catch (const dbus::Error& error)
        {
            // A bus that goes takes the answer along.
            if (what != "bus" || error.name() == control::refusal)
            {
                throw;
            }
        }
    });
}

static std::string textOf(const json& value)
{
    return value.get<std::string>();
}

static std::string callsOf(const json& service)
{
    std::string text;
    for (const auto& [member, count] : service["calls"].items())
    {
        const auto last = textOf(service["last"][member]);
        text += (text.empty() ? "; calls: " : ", ") + member + ' ' +
                count.dump() + (last.empty() ? "" : " (last: " + last + ")");
    }
    return text;
}

static void addServices(std::vector<plain::Row>& rows, const json& services)
{
    for (const auto& [label, service] : services.items())
    {
        rows.emplace_back(label,
                          textOf(service["behaviour"]) + callsOf(service));
        for (const auto& [name, value] : service["values"].items())
        {
            rows.emplace_back("  " + name, textOf(value));
        }
    }
}

static void addFlash(std::vector<plain::Row>& rows, const json& flash)
{
    rows.emplace_back("flash", textOf(flash["behaviour"]) + ", units " +
                                   textOf(flash["unit"]) + ", " +
                                   flash["time-ms"].dump() +
                                   " ms, given up after " +
                                   flash["timeout-ms"].dump() + " ms");
    for (const auto& [partition, content] : flash["partitions"].items())
    {
        rows.emplace_back("  " + partition,
                          content["bytes"].dump() + " bytes, " +
                              (content["version"].is_null()
                                   ? "no whole image"
                                   : "version " + textOf(content["version"])));
    }
}

static std::string asTable(const json& state)
{
    std::vector<plain::Row> rows{
        {"directory", textOf(state["directory"])},
        {"manager", textOf(state["manager"]["kind"]) + ", " +
                        textOf(state["manager"]["behaviour"])}};
    addServices(rows, state["services"]);
    addFlash(rows, state["flash"]);
    return plain::table(rows);
}

int printState(const std::string& directory, bool asJson)
{
    return asked(directory, "State", {}, [&](auto&& answer) {
        const auto text = answer().template read<std::string>();
        const auto state = json::parse(text);
        std::cout << (asJson ? state.dump(2, ' ', true) + '\n'
                             : asTable(state));
    });
}

int listScenarios()
{
    std::vector<plain::Row> rows;
    for (const auto& [name, description, settings] : scenarios())
    {
        rows.emplace_back(name, description);
    }
    std::cout << plain::table(rows);
    return EXIT_SUCCESS;
}

} // namespace bmcsim
