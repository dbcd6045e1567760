// SPDX-License-Identifier: Apache-2.0
#include "../../simulator/builtin_unit.hpp"
#include "../support/bytes.hpp"
#include "../support/rights.hpp"
#include "../support/temporary_directory.hpp"

#include <gtest/gtest.h>
#include <linux/sched.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

// What a unit of the built-in manager does with its processes.

using bmcsim::BuiltinUnit;

namespace
{

/** A child with this number that leads a process group; -1 where the kernel
 *  does not allow it.
 */
pid_t childNumbered(pid_t number)
{
    clone_args arguments{};
    arguments.exit_signal = SIGCHLD;
    arguments.set_tid = reinterpret_cast<std::uint64_t>(&number);
    arguments.set_tid_size = 1;
    const auto child =
        static_cast<pid_t>(syscall(SYS_clone3, &arguments, sizeof(arguments)));
    if (child == 0)
    {
        setpgid(0, 0);
        pause();
        _exit(0);
    }
    setpgid(child, child);
    return child;
}

TEST(BuiltinUnit, SignalsNoProcessThatGetsTheNumberOfAReapedOne)
{
    const test::TemporaryDirectory folder;
    std::filesystem::create_directory(folder.file("units"));
    test::writeBytes(folder.file("units/a.service"),
                     "[Service]\nType=oneshot\nExecStart=/bin/true\n");
    std::optional<BuiltinUnit> unit(
        std::in_place, bmcsim::PrivateDirectory(folder.path()), "a.service");
    unit->start();
    const auto process = static_cast<pid_t>(unit->mainProcess());
    auto status = 0;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    unit->reaped(process, status);
    const auto other = childNumbered(process);
    SKIP_BECAUSE(other < 0 ? std::string("to choose a process's number: ") +
                                 std::strerror(errno)
                           : "");

    unit.reset();

    kill(other, SIGUSR1);
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(WTERMSIG(status), SIGUSR1);
}

} // namespace
