// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bus_daemon.hpp"
#include "bus_relay.hpp"
#include "flash_settings.hpp"
#include "manager_kind.hpp"
#include "private_directory.hpp"
#include "services/service.hpp"
#include "unit_manager.hpp"

#include <nlohmann/json.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace bmcsim
{

/** What a simulated BMC is made with. */
struct Setup
{
    ManagerKind manager = ManagerKind::automatic;

    /** The address of the bus that it joins; empty for one of its own. */
    std::string bus;

    /** As for `Board::set`, in order. */
    std::vector<std::pair<std::string, std::string>> initial;
};

/** The simulated BMC: its bus, its services and its unit manager. */
class Board
{
  public:
    /** Brings everything up; `Setup::initial` is left to the caller.
     *
     *  @throw std::runtime_error  something did not come up; what and why
     */
    Board(const PrivateDirectory& directory, const Setup& setup);

    /** Changes a service's behaviour or a setting; in force when it returns.
     *
     *  @throw std::invalid_argument  `what` or `value` is unknown; names those
     *         that exist
     */
    void set(const std::string& what, const std::string& value);

    /** All that can be known of the simulated BMC. */
    nlohmann::json state() const;

    /** Ends the bus where that was asked for. */
    void endBusIfTold();

    /** Does what is due by time. */
    void wake();

    /** When `wake` is to be called again, if at all. */
    std::optional<std::chrono::steady_clock::time_point> deadline();

    /** Connections to be served. */
    std::vector<dbus::Connection*> connections();

    /** A child of the simulated BMC ended, and was reaped. */
    void childEnded(pid_t child, int status);

  private:
    std::string namesToSet() const;
    void setFlash(const std::string& what, const std::string& value);
    void setBus(const std::string& value);
    void setManager(Behaviour behaviour);

    PrivateDirectory directory;
    /** Null where it is on a bus that is not its own. */
    std::unique_ptr<BusDaemon> busDaemon;
    BusRelay relay;
    FlashSettings flash;
    std::vector<std::unique_ptr<Service>> services;
    std::unique_ptr<UnitManager> manager;
    bool busIsToEnd = false;
};

} // namespace bmcsim
