// SPDX-License-Identifier: Apache-2.0
#include "run.hpp"

#include "child.hpp"
#include "complaint.hpp"
#include "container_process.hpp"
#include "control_group.hpp"
#include "exit_status.hpp"

#include <plain.hpp>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace bmcsim
{

namespace
{

[[noreturn]] void become(const std::vector<std::string>& command,
                         const PrivateDirectory& directory,
                         const sigset_t& signals)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigprocmask(SIG_SETMASK, &signals, nullptr);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", directory.busAddress().c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", directory.busAddress().c_str(), 1);
    // Where systemctl --user looks for its manager.
    setenv("XDG_RUNTIME_DIR", directory.runtime().c_str(), 1);
    setenv("WEXA_BMCSIM_DIR", directory.path().c_str(), 1);
    auto argv = pointersTo(command);
    execvp(argv[0], argv.data());
    const auto missing = errno == ENOENT;
    complain("cannot run " + plain::line(command[0]) + ": " +
             std::strerror(errno));
    _exit(missing ? 127 : 126);
}

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

/** Waits for the command's end; hands on signals that were meant for it. */
int supervise(pid_t command, ContainerProcess& container,
              const sigset_t& signals)
{
    for (;;)
    {
        siginfo_t signal{};
        if (sigwaitinfo(&signals, &signal) < 0)
        {
            continue;
        }
        if (signal.si_signo != SIGCHLD)
        {
            // The terminal sends its own to the command, too.
            if (signal.si_code <= 0)
            {
                kill(command, signal.si_signo);
            }
            continue;
        }
        int status = 0;
        if (waitpid(command, &status, WNOHANG) == command)
        {
            return exitStatusOf(status);
        }
        if (container.hasEnded())
        {
            kill(command, SIGKILL);
            waitpid(command, nullptr, 0);
            throw std::runtime_error("the simulated BMC ended too early");
        }
    }
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

    checkLimitOfFiles();
    PrivateDirectory::removeDead(controlGroup::removeIfLeft);
    ContainerProcess container(setup, signalsThatEnd());
    const auto child = checked(fork(), "fork");
    if (child == 0)
    {
        become(command, container.where(), before);
    }
    return supervise(child, container, signals);
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

} // namespace bmcsim
