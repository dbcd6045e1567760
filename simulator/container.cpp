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

/** All orphans of the simulated BMC are the container's to reap. */
void reapChildren(int children, UnitManager& manager)
{
    signalfd_siginfo ignored{};
    while (read(children, &ignored, sizeof(ignored)) > 0)
    {
    }
    int status = 0;
    pid_t child = 0;
    while ((child = waitpid(-1, &status, WNOHANG)) > 0)
    {
        manager.childEnded(child, status);
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
        do
        {
            serveAll();
            board.endBusIfTold();
            reapChildren(children, board.unitManager());
            board.wake();
        } while (wait());
    }

  private:
    std::vector<sdbus::IConnection*> connections()
    {
        auto connections = board.connections();
        connections.push_back(control.connection());
        std::erase_if(connections, [this](auto* connection) {
            return std::ranges::find(lost, connection) != lost.end();
        });
        return connections;
    }

    /** Serving one connection can bring work to another, or silence it. */
    void serveAll()
    {
        while (std::ranges::any_of(connections(), [this](auto* connection) {
            return serve(*connection);
        }))
        {
        }
    }

    /** Processes one event, if there is one. */
    bool serve(sdbus::IConnection& connection)
    {
        try
        {
            return connection.processPendingRequest();
        }
        catch (const sdbus::Error&)
        {
            // The bus is gone; the BMC goes on without.
            lost.push_back(&connection);
            return false;
        }
    }

    /** False when the lifeline is cut. */
    bool wait()
    {
        std::vector<pollfd> watched{{lifeline, POLLIN, 0},
                                    {children, POLLIN, 0}};
        for (auto* connection : connections())
        {
            const auto data = connection->getEventLoopPollData();
            watched.push_back({data.fd, data.events, 0});
        }
        poll(watched.data(), watched.size(),
             millisecondsUntil(board.deadline()));
        return watched[0].revents == 0;
    }

    Board& board;
    Control& control;
    int lifeline;
    int children;
    std::vector<sdbus::IConnection*> lost;
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
