// SPDX-License-Identifier: Apache-2.0
#include "descendants.hpp"

#include "child.hpp"
#include "patience.hpp"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <set>

namespace bmcsim
{

void adoptOrphans()
{
    checked(prctl(PR_SET_CHILD_SUBREAPER, 1), "cannot adopt processes");
}

/** Signals the children that have not ended, and reaps those that have. Leaves
 *  `kept` alone.
 *
 *  @return whether the list had no other child. One that is reaped counts: its
 *          own children may have become ours after the list was read.
 */
template <typename Tell>
static bool isAlone(pid_t kept, const Tell& tell)
{
    auto isEmpty = true;
    std::ifstream list("/proc/thread-self/children");
    for (pid_t child = 0; list >> child;)
    {
        if (child == kept)
        {
            continue;
        }
        isEmpty = false;
        if (waitpid(child, nullptr, WNOHANG) == 0)
        {
            tell(child);
        }
    }
    return isEmpty;
}

void endDescendants(pid_t kept, std::chrono::milliseconds grace)
{
    // Those of a child that ends become children, and are asked in their turn.
    std::set<pid_t> asked;
    const auto ask = [&asked](pid_t child) {
        if (asked.insert(child).second)
        {
            kill(child, SIGTERM);
        }
    };
    const auto end = [](pid_t child) { kill(child, SIGKILL); };
    if (!within(grace, [&] { return isAlone(kept, ask); }))
    {
        within(startPatience, [&] { return isAlone(kept, end); });
    }
}

bool signalAtEndOf(pid_t parent, int number)
{
    prctl(PR_SET_PDEATHSIG, number);
    // It may have ended before the kernel was told.
    return getppid() == parent;
}

} // namespace bmcsim
