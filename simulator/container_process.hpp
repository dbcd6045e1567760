// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "container.hpp"
#include "pipe.hpp"

#include <signal.h>

#include <stdexcept>

namespace bmcsim
{

/** A signal came before the simulated BMC was up. */
struct Interrupted : std::runtime_error
{
    explicit Interrupted(int number) :
        std::runtime_error("interrupted"), number(number)
    {}

    int number;
};

/** The processes of a simulated BMC, seen from outside. Its owner adopts
 *  orphans; with the object end all that the owner's children left running.
 */
class ContainerProcess
{
  public:
    /** Starts it and waits until the simulated BMC is up. SIGCHLD is blocked.
     *
     *  @param ends  the signals, all blocked, that end the wait
     *  @throw Interrupted         one of them came
     *  @throw std::runtime_error  it does not come up; what and why
     */
    ContainerProcess(Setup setup, const sigset_t& ends);
    ~ContainerProcess();

    ContainerProcess(const ContainerProcess&) = delete;
    ContainerProcess& operator=(const ContainerProcess&) = delete;

    const PrivateDirectory& where() const
    {
        return directory.where();
    }

    /** Whether the first process is gone, and so all that it ran. */
    bool hasEnded()
    {
        return bmcsim::hasEnded(process);
    }

  private:
    void awaitReport(const sigset_t& ends);

    /** False where it does not end in time. */
    bool endsWithin(std::chrono::seconds time);

    void takeDown();

    OwnedDirectory directory;
    Pipe lifeline;
    Pipe report;
    pid_t process = -1;
};

} // namespace bmcsim
