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

/** Those that have not ended, except `kept`. Reaps those that have ended. */
static std::set<pid_t> childrenBesides(pid_t kept)
{
    std::set<pid_t> children;
    std::ifstream list("/proc/thread-self/children");
    for (pid_t child = 0; list >> child;)
    {
        if (child != kept && waitpid(child, nullptr, WNOHANG) == 0)
        {
            children.insert(child);
        }
    }
    return children;
}

void endDescendants(pid_t kept, std::chrono::milliseconds grace)
{
    // Those of a child that ends become children, and are asked in their turn.
    std::set<pid_t> asked;
    const auto allEnd = [&] {
        const auto children = childrenBesides(kept);
        for (const auto child : children)
        {
            if (asked.insert(child).second)
            {
                kill(child, SIGTERM);
            }
        }
        return children.empty();
    };
    const auto allAreKilled = [&] {
        const auto children = childrenBesides(kept);
        for (const auto child : children)
        {
            kill(child, SIGKILL);
        }
        return children.empty();
    };
    if (!within(grace, allEnd))
    {
        within(startPatience, allAreKilled);
    }
}

bool signalAtEndOf(pid_t parent, int number)
{
    prctl(PR_SET_PDEATHSIG, number);
    // It may have ended before the kernel was told.
    return getppid() == parent;
}

} // namespace bmcsim
