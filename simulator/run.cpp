// SPDX-License-Identifier: Apache-2.0
#include "run.hpp"

#include "child.hpp"
#include "complaint.hpp"
#include "control_group.hpp"
#include "exit_status.hpp"

#include <fcntl.h>
#include <plain.hpp>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace bmcsim
{

namespace
{

constexpr std::chrono::seconds endPatience{10};

/** Both ends of a pipe, closed with the object. */
struct Pipe
{
    Pipe()
    {
        checked(pipe2(ends, O_CLOEXEC), "pipe");
    }

    ~Pipe()
    {
        closeEnd(0);
        closeEnd(1);
    }

    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void closeEnd(int end)
    {
        if (ends[end] >= 0)
        {
            close(ends[end]);
            ends[end] = -1;
        }
    }

    int ends[2];
};

/** The processes of a simulated BMC, seen from outside. */
class Container
{
  public:
    explicit Container(const Setup& setup) :
        directory(PrivateDirectory::make()), manager(setup.manager)
    {
        process = forkContainer();
        if (process == 0)
        {
            report.closeEnd(0);
            lifeline.closeEnd(1);
            _exit(runContainer(directory, setup, lifeline.ends[0],
                               report.ends[1]));
        }
        report.closeEnd(1);
        lifeline.closeEnd(0);
        awaitReport();
    }

    ~Container()
    {
        takeDown();
    }

    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    const PrivateDirectory& where() const
    {
        return directory;
    }

    pid_t firstProcess() const
    {
        return process;
    }

    /** The first process is gone, and so is all that it ran. */
    void ended()
    {
        process = -1;
    }

  private:
    /** As fork, but the child is the first of a process namespace where that
     *  is allowed: the kernel ends all of them with it.
     */
    static pid_t forkContainer()
    {
        if (geteuid() != 0)
        {
            const auto child = checked(fork(), "fork");
            if (child == 0)
            {
                prctl(PR_SET_CHILD_SUBREAPER, 1);
            }
            return child;
        }
        return static_cast<pid_t>(
            checked(syscall(SYS_clone, CLONE_NEWPID | SIGCHLD, nullptr, nullptr,
                            nullptr, nullptr),
                    "cannot have processes of its own"));
    }

    void awaitReport()
    {
        std::string said;
        char part[512];
        ssize_t got = 0;
        while ((got = read(report.ends[0], part, sizeof(part))) > 0)
        {
            said.append(part, static_cast<std::size_t>(got));
        }
        if (said != "up")
        {
            takeDown();
            throw std::runtime_error(
                said.empty() ? "the simulated BMC ended while it started"
                             : said);
        }
    }

    void takeDown()
    {
        lifeline.closeEnd(1);
        const auto deadline = std::chrono::steady_clock::now() + endPatience;
        while (process > 0 && waitpid(process, nullptr, WNOHANG) == 0)
        {
            if (std::chrono::steady_clock::now() >= deadline)
            {
                kill(process, SIGKILL);
            }
            usleep(2000);
        }
        process = -1;
        // What a container that was killed has left.
        if (manager == ManagerKind::systemd &&
            std::filesystem::exists(directory.path()))
        {
            controlGroup::remove(directory);
        }
        directory.remove();
    }

    PrivateDirectory directory;
    ManagerKind manager;
    Pipe lifeline;
    Pipe report;
    pid_t process = -1;
};

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

/** The signals that the supervisor waits for instead of dying of them. */
sigset_t awaitedSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const auto number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGCHLD})
    {
        sigaddset(&signals, number);
    }
    return signals;
}

int exitStatusOf(int status)
{
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

/** Waits for the command's end; hands on signals that were meant for it. */
int supervise(pid_t command, Container& container, const sigset_t& signals)
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
        if (waitpid(container.firstProcess(), nullptr, WNOHANG) ==
            container.firstProcess())
        {
            container.ended();
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
    // From here on every way out passes the container's destructor.
    const auto signals = awaitedSignals();
    sigset_t before;
    sigprocmask(SIG_BLOCK, &signals, &before);

    Container container(setup);
    const auto child = checked(fork(), "fork");
    if (child == 0)
    {
        become(command, container.where(), before);
    }
    return supervise(child, container, signals);
}

catch (const std::exception& error)
{
    complain(error.what());
    return exitStatus::noBoard;
}

} // namespace bmcsim
