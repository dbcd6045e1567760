// SPDX-License-Identifier: Apache-2.0
#include "container.hpp"

#include "child.hpp"
#include "control.hpp"
#include "patience.hpp"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <string_view>

namespace bmcsim
{

namespace
{

/** A descriptor that is readable when a child has ended. */
int watchChildren()
{
    sigset_t ended;
    sigemptyset(&ended);
    sigaddset(&ended, SIGCHLD);
    sigprocmask(SIG_BLOCK, &ended, nullptr);
    return checked(signalfd(-1, &ended, SFD_CLOEXEC | SFD_NONBLOCK),
                   "signalfd");
}

/** The container reaps all orphans of the simulated BMC. */
void reapChildren(int children, Board& board)
{
    signalfd_siginfo ignored{};
    while (read(children, &ignored, sizeof(ignored)) > 0)
    {
    }
    int status = 0;
    pid_t child = 0;
    while ((child = waitpid(-1, &status, WNOHANG)) > 0)
    {
        board.childEnded(child, status);
    }
}

/** Serves connections until the lifeline is cut. */
class Loop
{
  public:
    Loop(Board& board, Control& control, int lifeline, int children) :
        board(board), control(control), lifeline(lifeline), children(children)
    {}

    void run()
    {
        auto isMore = false;
        do
        {
            isMore = serveAll();
            board.endBusIfTold();
            reapChildren(children, board);
            board.wake();
        } while (wait(isMore));
    }

  private:
    std::vector<dbus::Connection*> connections()
    {
        auto connections = board.connections();
        // Last, since its clients can end others.
        connections.push_back(&control.connection());
        return connections;
    }

    /** Serves the connections in turn, so that none waits for another: the
     *  client of one may be faster than this.
     *
     *  @return whether there may be more to do
     */
    bool serveAll()
    {
        constexpr auto most = 64;
        for (auto turn = 0; turn < most; ++turn)
        {
            auto isAny = false;
            for (auto* const connection : connections())
            {
                isAny = connection->serve() || isAny;
            }
            if (!isAny)
            {
                return false;
            }
        }
        return true;
    }

    /** Until there is something to do; false when the lifeline is cut. */
    bool wait(bool isMore)
    {
        std::vector<pollfd> watched{{lifeline, POLLIN, 0},
                                    {children, POLLIN, 0}};
        auto next = board.deadline();
        for (const auto* const connection : connections())
        {
            watched.push_back(connection->watched());
            if (const auto due = connection->deadline())
            {
                next = std::min(next.value_or(*due), *due);
            }
        }
        poll(watched.data(), watched.size(),
             isMore ? 0 : millisecondsUntil(next));
        return watched[0].revents == 0;
    }

    Board& board;
    Control& control;
    int lifeline;
    int children;
};

void tell(int report, std::string_view text)
{
    [[maybe_unused]] const auto told = write(report, text.data(), text.size());
    close(report);
}

} // namespace

int runContainer(const PrivateDirectory& directory, const Setup& setup,
                 int lifeline, int report)
{
    // The terminal's Ctrl-C is for the command, not for the BMC.
    setsid();
    signal(SIGPIPE, SIG_IGN);
    auto status = EXIT_SUCCESS;
    try
    {
        const auto children = watchChildren();
        Board board(directory, setup);
        Control control(board, directory.busAddress());
        for (const auto& [what, value] : setup.initial)
        {
            board.set(what, value);
        }
        board.endBusIfTold();
        tell(report, "up");
        Loop(board, control, lifeline, children).run();
    }
    catch (const std::exception& error)
    {
        tell(report, error.what());
        status = EXIT_FAILURE;
    }
    directory.remove();
    return status;
}

} // namespace bmcsim
