// SPDX-License-Identifier: Apache-2.0
#include "../../tools/operations/exit_words.hpp"
#include "../support/process.hpp"

#include <gtest/gtest.h>
#include <signal.h>

#include <sstream>

// The tool names exit statuses as systemd does.

namespace
{

TEST(ExitWords, AreThoseOfSystemd)
{
    const auto listed = test::run({"systemd-analyze", "exit-status"});
    ASSERT_EQ(listed.status, 0) << listed.err;
    std::istringstream lines(listed.out);
    std::string line;
    auto compared = 0;
    while (std::getline(lines, line))
    {
        std::istringstream words(line);
        std::string name;
        std::string origin;
        auto status = 0;
        if (words >> name >> status >> origin && origin == "systemd" &&
            status < 255)
        {
            EXPECT_EQ(exitWords(CLD_EXITED, status),
                      "exit status " + std::to_string(status) + '/' + name);
            ++compared;
        }
    }
    EXPECT_GE(compared, 40);
}

TEST(ExitWords, NameTheSignalAndWhetherCoreWasDumped)
{
    EXPECT_EQ(exitWords(CLD_EXITED, 1), "exit status 1/FAILURE");
    EXPECT_EQ(exitWords(CLD_EXITED, 7), "exit status 7");
    EXPECT_EQ(exitWords(CLD_KILLED, SIGKILL), "signal 9/SIGKILL");
    EXPECT_EQ(exitWords(CLD_DUMPED, SIGSEGV), "signal 11/SIGSEGV, core dumped");
    EXPECT_EQ(exitWords(CLD_KILLED, 99), "signal 99");
}

} // namespace
