// SPDX-License-Identifier: Apache-2.0
#include "container_process.hpp"

#include "child.hpp"
#include "control_group.hpp"
#include "descendants.hpp"
#include "patience.hpp"

#include <poll.h>
#include <sched.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace bmcsim
{

/** Longer than all that the container itself waits for. */
constexpr std::chrono::seconds reportPatience{60};
constexpr std::chrono::seconds endPatience{10};
/** What the command left running has this long to end by itself. */
constexpr std::chrono::seconds endGrace{1};

/** Why there is no process namespace, by errno. */
static NoSystemd withoutNamespace()
{
    const std::string systemd = "a systemd manager of its own needs ";
    if (errno != EPERM)
    {
        return NoSystemd(systemd +
                         "a process namespace: " + std::strerror(errno));
    }
    return NoSystemd(systemd + (geteuid() == 0
                                    ? "CAP_SYS_ADMIN, which root lacks here"
                                    : "root"));
}

/** As fork, but the child is the first of a process namespace where that is
 *  allowed: the kernel ends all of them with it.
 *
 *  @param manager  becomes the built-in one where it is not
 */
static pid_t forkContainer(ManagerKind& manager)
{
    const auto first = static_cast<pid_t>(syscall(
        SYS_clone, CLONE_NEWPID | SIGCHLD, nullptr, nullptr, nullptr, nullptr));
    if (first >= 0)
    {
        return first;
    }
    manager = withoutSystemd(manager, withoutNamespace());
    const auto child = checked(fork(), "fork");
    if (child == 0)
    {
        adoptOrphans();
    }
    return child;
}

ContainerProcess::ContainerProcess(Setup setup, const sigset_t& ends) :
    process(forkContainer(setup.manager))
{
    if (process == 0)
    {
        report.closeEnd(0);
        lifeline.closeEnd(1);
        _exit(runContainer(directory.where(), setup, lifeline.ends[0],
                           report.ends[1]));
    }
    report.closeEnd(1);
    lifeline.closeEnd(0);
    try
    {
        awaitReport(ends);
    }
    catch (const std::exception&)
    {
        takeDown();
        throw;
    }
}

ContainerProcess::~ContainerProcess()
{
    takeDown();
}

/** The number of the signal that waits at a descriptor of signals. */
static int signalFrom(const Descriptor& signals)
{
    signalfd_siginfo info{};
    return read(signals.get(), &info, sizeof(info)) == sizeof(info)
               ? static_cast<int>(info.ssi_signo)
               : SIGTERM;
}

void ContainerProcess::awaitReport(const sigset_t& ends)
{
    const Descriptor signals(
        checked(signalfd(-1, &ends, SFD_CLOEXEC), "signalfd"));
    const auto deadline = std::chrono::steady_clock::now() + reportPatience;
    std::array<pollfd, 2> watched{
        {{report.ends[0], POLLIN, 0}, {signals.get(), POLLIN, 0}}};
    std::string said;
    for (;;)
    {
        if (poll(watched.data(), watched.size(), millisecondsUntil(deadline)) ==
            0)
        {
            kill(process, SIGKILL);
            throw std::runtime_error("the simulated BMC does not start");
        }
        if (watched[1].revents != 0)
        {
            kill(process, SIGKILL);
            throw Interrupted(signalFrom(signals));
        }
        std::array<char, 512> part;
        const auto got = read(report.ends[0], part.data(), part.size());
        if (got <= 0)
        {
            break;
        }
        said.append(part.data(), static_cast<std::size_t>(got));
    }
    if (said != "up")
    {
        throw std::runtime_error(
            said.empty() ? "the simulated BMC ended while it started" : said);
    }
}

bool ContainerProcess::endsWithin(std::chrono::seconds time)
{
    sigset_t childEnds;
    sigemptyset(&childEnds);
    sigaddset(&childEnds, SIGCHLD);
    const auto deadline = std::chrono::steady_clock::now() + time;
    while (!bmcsim::hasEnded(process))
    {
        const auto left = millisecondsUntil(deadline);
        if (left == 0)
        {
            return false;
        }
        const timespec rest{left / 1000, left % 1000 * 1000000L};
        sigtimedwait(&childEnds, nullptr, &rest);
    }
    return true;
}

void ContainerProcess::takeDown()
{
    endDescendants(process, endGrace);
    lifeline.closeEnd(1);
    if (!endsWithin(endPatience))
    {
        kill(process, SIGKILL);
        endsWithin(endPatience);
    }
    // Without a process namespace its children outlive it for a moment.
    endDescendants(process, {});
    // What a container that was killed has left.
    controlGroup::removeIfLeft(where());
}

} // namespace bmcsim
