// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_directory.hpp"
#include "unit_manager.hpp"

namespace bmcsim
{

/** A real systemd user manager that sees no units but the simulated BMC's.
 *
 *  Its own mounts hide what it must not touch of the host, and its own control
 *  group is where it keeps its processes: the simulated BMC must be root in a
 *  process namespace of its own.
 */
class SystemdManager : public UnitManager
{
  public:
    /** Starts it and waits until it is on the bus.
     *
     *  @throw NoSystemd           it does not come up; why
     *  @throw std::runtime_error  its name is taken on the bus
     */
    explicit SystemdManager(const PrivateDirectory& directory);
    ~SystemdManager() override;

    SystemdManager(const SystemdManager&) = delete;
    SystemdManager& operator=(const SystemdManager&) = delete;

    void behave(Behaviour behaviour) override;
    void reload() override;
    void childEnded(pid_t child, int status) override;

    std::string kind() const override
    {
        return "systemd";
    }

    Behaviour behaviour() const override
    {
        return behaving;
    }

  private:
    void launch();
    void stop();
    bool isOnTheBus();

    PrivateDirectory directory;
    dbus::Connection client;
    pid_t process = -1;
    Behaviour behaving = Behaviour::normal;
};

} // namespace bmcsim
