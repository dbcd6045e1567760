// SPDX-License-Identifier: Apache-2.0
#include "tool_test.hpp"

#include <csignal>

// Where the system has too few files or too little memory left, no image, path
// or library is blamed for it.

using namespace test;

namespace
{

class Shortage : public ToolTest
{
  protected:
    /** How the tool ends where a limit of the shell's is set before. */
    Completed limited(const std::string& limit, long value,
                      const std::string& verb) const
    {
        return bmc.run({"bash", "-c",
                        "ulimit " + limit + ' ' + std::to_string(value) +
                            " && exec \"$0\" " + verb,
                        fromEnvironment("WEXA_FWMGR")});
    }

    /** All ends of a verb are one of a shortage until it has enough. */
    void expectUntilEnough(const std::string& verb, const std::string& limit,
                           long first, long step, const Completed& shortage)
    {
        // What the loader and the libraries need before `main` is not ours.
        constexpr auto notLoaded = 127;
        constexpr auto aborted = 128 + SIGABRT;
        auto value = first;
        auto done = limited(limit, value, verb);
        while (done.status == notLoaded || done.status == aborted)
        {
            done = limited(limit, value += step, verb);
        }
        EXPECT_EQ(done, shortage) << verb;
        while (done == shortage)
        {
            done = limited(limit, value += step, verb);
        }
        EXPECT_EQ(done.status, 0) << verb << limit << value << '\n' << done.err;
    }

    const std::vector<std::string> verbs{
        "upload bmc " + images.bmc("1"),
        "verify bios " +
            images.make("capsule", {"--kind", "capsule", "--version", "1"}),
        "update bmc " + images.bmc("1") + " --dry-run",
        "components",
        "doctor",
    };
};

// The sanitizers open files and map memory of their own.
#ifndef WEXA_SANITIZED
TEST_F(Shortage, OfFilesIsToldBeforeAVerbBegins)
{
    for (const auto& verb : verbs)
    {
        expectUntilEnough(
            verb, "-n", 4, 1,
            refusal(unexpected,
                    "there is no room for 16 open files: Too many open files",
                    "allow more open files, such as with ulimit -n 256"));
    }
}

TEST_F(Shortage, OfMemoryIsToldBeforeAVerbBegins)
{
    for (const auto& verb : verbs)
    {
        expectUntilEnough(
            verb, "-v", 12000, 500,
            refusal(unexpected,
                    "there is no room for 8 MiB of memory: Cannot allocate "
                    "memory",
                    "end other programs, or allow more memory, such as with "
                    "ulimit -v unlimited"));
    }
}
#endif

} // namespace
