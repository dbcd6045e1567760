// SPDX-License-Identifier: Apache-2.0
#include "run.hpp"

#include "child.hpp"
#include "complaint.hpp"
#include "container_process.hpp"
#include "control_group.hpp"
#include "descendants.hpp"
#include "exit_status.hpp"
#include "patience.hpp"

#include <plain.hpp>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>

namespace bmcsim
{

namespace
{

[[noreturn]] void become(const std::vector<std::string>& command,
                         const PrivateDirectory& directory,
                         const sigset_t& signals, pid_t parent)
{
    if (!signalAtEndOf(parent, SIGKILL))
    {
        _exit(EXIT_FAILURE);
    }
    sigprocmask(SIG_SETMASK, &signals, nullptr);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", directory.busAddress().c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", directory.busAddress().c_str(), 1);
    // Where systemctl --user looks for its manager.
    setenv("XDG_RUNTIME_DIR", directory.runtime().c_str(), 1);
    // Newer ones want a socket of systemd's own there.
    setenv("SYSTEMCTL_FORCE_BUS", "1", 1);
    setenv("WEXA_BMCSIM_DIR", directory.path().c_str(), 1);
    auto argv = pointersTo(command);
    execvp(argv[0], argv.data());
    const auto missing = errno == ENOENT;
    complain("cannot run " + plain::line(command[0]) + ": " +
             std::strerror(errno));
    _exit(missing ? 127 : 126);
}

constexpr auto endedTooEarly = "the simulated BMC ended too early";
constexpr std::array endSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

/** The signals that the supervisor waits for instead of dying of them. */
sigset_t awaitedSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const auto number : endSignals)
    {
        sigaddset(&signals, number);
    }
    sigaddset(&signals, SIGCHLD);
    return signals;
}

/** Those that would have ended this program. */
sigset_t signalsThatEnd()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const auto number : endSignals)
    {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        if (action.sa_handler != SIG_IGN)
        {
            sigaddset(&signals, number);
        }
    }
    return signals;
}

/** With fewer it would fail somewhere on its way. */
void checkLimitOfFiles()
{
    constexpr rlim_t needed = 64;
    rlimit limit{};
    checked(getrlimit(RLIMIT_NOFILE, &limit), "getrlimit");
    if (limit.rlim_cur < needed)
    {
        throw std::runtime_error("a simulated BMC needs " +
                                 std::to_string(needed) + " open files, and " +
                                 std::to_string(limit.rlim_cur) +
                                 " are allowed; allow more with ulimit -n");
    }
}

int exitStatusOf(int status)
{
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

/** Reaps all that ended; the command's exit status, if it is among them. */
std::optional<int> reap(pid_t command)
{
    std::optional<int> ofCommand;
    int status = 0;
    pid_t child = 0;
    while ((child = waitpid(-1, &status, WNOHANG)) > 0)
    {
        if (child == command)
        {
            ofCommand = exitStatusOf(status);
        }
    }
    return ofCommand;
}

/** Whether a signal is to be handed on. */
bool isForTheCommand(const siginfo_t& signal)
{
    // The terminal sends its own to the command, too.
    return signal.si_signo != SIGCHLD && signal.si_code <= 0;
}

/** Waits for the command's end; hands on signals that were meant for it. */
int supervise(pid_t command, ContainerProcess& container,
              const sigset_t& signals, pid_t front)
{
    const auto killCommand = [command] {
        kill(command, SIGKILL);
        waitpid(command, nullptr, 0);
    };
    for (;;)
    {
        siginfo_t signal{};
        if (sigwaitinfo(&signals, &signal) < 0)
        {
            continue;
        }
        if (getppid() != front)
        {
            killCommand();
            return 128 + SIGKILL;
        }
        if (isForTheCommand(signal))
        {
            kill(command, signal.si_signo);
        }
        if (const auto status = reap(command))
        {
            return *status;
        }
        if (container.hasEnded())
        {
            killCommand();
            throw std::runtime_error(endedTooEarly);
        }
    }
}

/** What the keeper does: all but to wait for itself.
 *
 *  @param before  the signals that the command blocks
 *  @param front   the keeper's parent, which hands signals on
 */
int keep(const Setup& setup, const std::vector<std::string>& command,
         const sigset_t& before, pid_t front)
try
{
    if (!signalAtEndOf(front, SIGTERM))
    {
        return 128 + SIGKILL;
    }
    adoptOrphans();
    checkLimitOfFiles();
    PrivateDirectory::removeDead(controlGroup::removeIfLeft);
    ContainerProcess container(setup, signalsThatEnd());
    const auto keeper = getpid();
    const auto child = checked(fork(), "fork");
    if (child == 0)
    {
        become(command, container.where(), before, keeper);
    }
    return supervise(child, container, awaitedSignals(), front);
}

catch (const Interrupted& interruption)
{
    return 128 + interruption.number;
}

catch (const std::exception& error)
{
    complain(error.what());
    return exitStatus::noBoard;
}

/** Waits for the keeper's end; hands on signals that were meant for it. */
int awaitKeeper(pid_t keeper, const sigset_t& signals)
{
    int status = 0;
    while (waitpid(keeper, &status, WNOHANG) != keeper)
    {
        siginfo_t signal{};
        if (sigwaitinfo(&signals, &signal) > 0 && isForTheCommand(signal))
        {
            kill(keeper, signal.si_signo);
        }
    }
    if (WIFEXITED(status))
    {
        return WEXITSTATUS(status);
    }
    // It was killed, and could not clean up.
    endDescendants(-1, startPatience);
    PrivateDirectory::removeDead(controlGroup::removeIfLeft);
    throw std::runtime_error(endedTooEarly);
}

} // namespace

int runCommand(const Setup& setup, const std::vector<std::string>& command)
try
{
    // A parent that ignores the ends of its children hands that on.
    signal(SIGCHLD, SIG_DFL);
    // From here on every way out passes the container's destructor.
    const auto signals = awaitedSignals();
    sigset_t before;
    sigprocmask(SIG_BLOCK, &signals, &before);

    // Two processes, so that one of them cleans up where the other is killed.
    adoptOrphans();
    const auto front = getpid();
    const auto keeper = checked(fork(), "fork");
    if (keeper == 0)
    {
        _exit(keep(setup, command, before, front));
    }
    return awaitKeeper(keeper, signals);
}

catch (const std::exception& error)
{
    complain(error.what());
    return exitStatus::noBoard;
}

} // namespace bmcsim
