// SPDX-License-Identifier: Apache-2.0
#include "systemd_manager.hpp"

#include "child.hpp"
#include "control_group.hpp"
#include "flash_settings.hpp"
#include "flash_units.hpp"
#include "manager_kind.hpp"
#include "patience.hpp"

#include <signal.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

namespace bmcsim
{

constexpr auto busName = "org.freedesktop.systemd1";

/** systemd refuses to start where it is not told that systemd runs. */
static void pretendThatSystemdRuns()
{
    const auto* const hidden =
        access("/run/systemd", F_OK) == 0 ? "/run/systemd" : "/run";
    checked(mount("tmpfs", hidden, "tmpfs", 0, "mode=755"),
            "cannot hide the host's /run/systemd");
    mkdir("/run/systemd", 0755);
    checked(mkdir("/run/systemd/system", 0755), "/run/systemd/system");
}

static Program program(const PrivateDirectory& directory)
{
    const auto empty = directory.empty().string();
    return {{"/lib/systemd/systemd", "--user"},
            {"PATH=/usr/sbin:/usr/bin:/sbin:/bin",
             "HOME=" + directory.path().string(),
             "XDG_RUNTIME_DIR=" + directory.managerRuntime().string(),
             "DBUS_SESSION_BUS_ADDRESS=" + directory.managerBusAddress(),
             "SYSTEMD_UNIT_PATH=" + directory.units().string(),
             "SYSTEMD_GENERATOR_PATH=" + empty,
             "SYSTEMD_ENVIRONMENT_GENERATOR_PATH=" + empty,
             "SYSTEMD_LOG_TARGET=console"},
            directory.log("systemd"),
            [directory] {
                controlGroup::enter(directory);
                pretendThatSystemdRuns();
                // The processes are numbered anew in this namespace.
                checked(mount("proc", "/proc", "proc", 0, nullptr), "/proc");
            }};
}

SystemdManager::SystemdManager(const PrivateDirectory& directory) :
    directory(directory), client(directory.busAddress())
{
    if (access("/lib/systemd/systemd", X_OK) != 0)
    {
        throw NoSystemd("systemd is not installed");
    }
    if (isOnTheBus())
    {
        dbus::failAsTaken(busName);
    }
    launch();
}

SystemdManager::~SystemdManager()
{
    stop();
}

void SystemdManager::launch()
{
    process = start(program(directory));
    within(startPatience, [this] { return isOnTheBus() || hasEnded(process); });
    if (!isOnTheBus())
    {
        const auto said = tailOf(directory.log("systemd"));
        stop();
        throw NoSystemd("systemd's manager does not start" +
                        (said.empty() ? std::string() : ": " + said));
    }
}

void SystemdManager::stop()
{
    // All that it started goes with it: their control group is its own.
    end(process);
    within(startPatience, [this] { return !isOnTheBus(); });
    controlGroup::remove(directory);
}

/** False also where the bus itself is gone. */
bool SystemdManager::isOnTheBus()
try
{
    auto call = client.newCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                               "org.freedesktop.DBus", "NameHasOwner");
    call.append(std::string(busName));
    return client.ask(call).read<bool>();
}

catch (const dbus::Error&)
{
    return false;
}

void SystemdManager::reload()
{
    if (behaving == Behaviour::absent || behaving == Behaviour::silent)
    {
        return;
    }
    const auto call =
        client.newCall(busName, "/org/freedesktop/systemd1",
                       "org.freedesktop.systemd1.Manager", "Reload");
    if (behaving == Behaviour::slow)
    {
        // It is done at once, before what others ask later.
        call.sendWithoutAnswer();
    }
    else
    {
        client.ask(call);
    }
}

void SystemdManager::behave(Behaviour behaviour)
{
    if (behaviour == Behaviour::wrongType)
    {
        throw std::invalid_argument(
            "a real systemd cannot answer with another type; run with "
            "--manager builtin");
    }

    if (behaving == Behaviour::silent)
    {
        kill(process, SIGCONT);
    }
    if (behaving != Behaviour::absent)
    {
        behaving = Behaviour::normal;
    }

    writeUnits(directory, FlashSettings::read(directory));
    if (behaviour == Behaviour::refuse)
    {
        maskTemplates(directory);
    }
    if (behaviour == Behaviour::error)
    {
        removeTemplates(directory);
    }
    if (behaviour == Behaviour::absent)
    {
        stop();
    }
    else if (behaving == Behaviour::absent)
    {
        // It reads the units as it starts; systemd 257 does not always answer
        // to a reload then.
        launch();
    }
    else
    {
        reload();
    }
    if (behaviour == Behaviour::silent)
    {
        kill(process, SIGSTOP);
    }
    behaving = behaviour;
}

void SystemdManager::childEnded(pid_t child, int)
{
    if (child == process)
    {
        process = -1;
        behaving = Behaviour::absent;
    }
}

} // namespace bmcsim
