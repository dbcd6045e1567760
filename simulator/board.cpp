// SPDX-License-Identifier: Apache-2.0
#include "board.hpp"

#include "builtin_manager.hpp"
#include "choice.hpp"
#include "flash_units.hpp"
#include "image_check.hpp"
#include "services/cpld_manager.hpp"
#include "services/firmware_information.hpp"
#include "services/host.hpp"
#include "services/security_manager.hpp"
#include "services/settings.hpp"
#include "systemd_manager.hpp"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace bmcsim
{

static std::unique_ptr<UnitManager>
startManager(ManagerKind kind, const PrivateDirectory& directory)
{
    if (kind != ManagerKind::builtin)
    {
        try
        {
            return std::make_unique<SystemdManager>(directory);
        }
        catch (const NoSystemd& reason)
        {
            withoutSystemd(kind, reason);
        }
    }
    return std::make_unique<BuiltinManager>(directory);
}

static std::unique_ptr<BusDaemon>
startOrJoinBus(const PrivateDirectory& directory, const std::string& address)
{
    if (address.empty())
    {
        return std::make_unique<BusDaemon>(directory);
    }
    joinBus(directory, address);
    return nullptr;
}

Board::Board(const PrivateDirectory& directory, const Setup& setup) :
    directory(directory), busDaemon(startOrJoinBus(directory, setup.bus)),
    relay(directory)
{
    flash.write(directory);
    writeUnits(directory, flash);
    const auto address = directory.busAddress();
    services.push_back(std::make_unique<SecurityManager>(address));
    services.push_back(std::make_unique<FirmwareInformation>(address));
    services.push_back(std::make_unique<Host>(address));
    services.push_back(std::make_unique<Settings>(address));
    services.push_back(
        std::make_unique<CpldManager>(address, directory.flash()));
    manager = startManager(setup.manager, directory);
}

void Board::set(const std::string& what, const std::string& value)
{
    if (what.starts_with("flash"))
    {
        setFlash(what, value);
        return;
    }
    if (what == "bus")
    {
        setBus(value);
        return;
    }
    if (what == "manager")
    {
        setManager(behaviourNamed(value));
        return;
    }
    for (const auto& service : services)
    {
        if (what == service->label())
        {
            service->behave(behaviourNamed(value));
            return;
        }
        const auto settings = service->settings();
        if (std::ranges::find(settings, what) != settings.end())
        {
            service->set(what, value);
            return;
        }
    }
    throw std::invalid_argument("there is no '" + what +
                                "' to set; there are " + namesToSet());
}

void Board::setBus(const std::string& value)
{
    chosenFrom({"gone"}, value, "state of the bus");
    if (!busDaemon)
    {
        throw std::invalid_argument("the bus is not the simulated BMC's own; "
                                    "end the program that runs it");
    }
    busIsToEnd = true;
}

void Board::setManager(Behaviour behaviour)
{
    const auto delayAnswers = [this] {
        relay.delay(manager->behaviour() == Behaviour::slow
                        ? dbus::slowness
                        : std::chrono::seconds(0));
    };
    // It must answer at once while it is changed.
    relay.delay({});
    try
    {
        manager->behave(behaviour);
    }
    catch (const std::exception&)
    {
        delayAnswers();
        throw;
    }
    delayAnswers();
}

std::string Board::namesToSet() const
{
    std::string names;
    for (const auto& service : services)
    {
        names += service->label() + ", ";
        for (const auto& setting : service->settings())
        {
            names += setting + ", ";
        }
    }
    return names + "manager, flash, flash-unit, flash-time, flash-timeout and "
                   "bus";
}

void Board::setFlash(const std::string& what, const std::string& value)
{
    if (what == "flash")
    {
        flash.setBehaviour(value);
    }
    else if (what == "flash-unit")
    {
        flash.setUnit(value);
    }
    else if (what == "flash-time")
    {
        flash.time = millisecondsFrom(value);
    }
    else if (what == "flash-timeout")
    {
        flash.timeout = millisecondsFrom(value);
    }
    else
    {
        throw std::invalid_argument("there is no '" + what +
                                    "' to set; of the flash there are flash, "
                                    "flash-unit, flash-time and "
                                    "flash-timeout");
    }
    flash.write(directory);
    const auto how = manager->behaviour();
    if ((what == "flash-timeout" || what == "flash-unit") &&
        (how == Behaviour::normal || how == Behaviour::slow))
    {
        writeUnits(directory, flash);
        manager->reload();
    }
}

void Board::endBusIfTold()
{
    if (busIsToEnd)
    {
        busDaemon->stop();
    }
}

void Board::childEnded(pid_t child, int status)
{
    if (busDaemon)
    {
        busDaemon->childEnded(child);
    }
    manager->childEnded(child, status);
}

static nlohmann::json partitions(const std::filesystem::path& flash)
{
    auto list = nlohmann::json::object();
    for (const auto& file : std::filesystem::directory_iterator(flash))
    {
        // A command can put anything there.
        std::error_code failed;
        if (!file.is_regular_file(failed))
        {
            continue;
        }
        const auto image = authenticate(file.path());
        list[file.path().filename()] = {
            {"bytes", file.file_size()},
            {"version",
             image ? nlohmann::json(image->version) : nlohmann::json(nullptr)}};
    }
    return list;
}

nlohmann::json Board::state() const
{
    nlohmann::json state{{"directory", directory.path()},
                         {"manager",
                          {{"kind", manager->kind()},
                           {"behaviour", nameOf(manager->behaviour())}}},
                         {"flash",
                          {{"behaviour", flash.behaviour},
                           {"unit", flash.unit},
                           {"time-ms", flash.time.count()},
                           {"timeout-ms", flash.timeout.count()},
                           {"partitions", partitions(directory.flash())}}},
                         {"services", nlohmann::json::object()}};
    for (const auto& service : services)
    {
        state["services"][service->label()] = service->state();
    }
    return state;
}

void Board::wake()
{
    manager->wake();
}

std::optional<std::chrono::steady_clock::time_point> Board::deadline()
{
    return manager->deadline();
}

std::vector<dbus::Connection*> Board::connections()
{
    std::vector<dbus::Connection*> list;
    list.reserve(services.size() + 1);
    for (const auto& service : services)
    {
        list.push_back(&service->connection());
    }
    if (auto* const own = manager->connection())
    {
        list.push_back(own);
    }
    return list;
}

} // namespace bmcsim
