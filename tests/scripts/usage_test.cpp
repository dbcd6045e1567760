// SPDX-License-Identifier: Apache-2.0
#include "../support/process.hpp"

#include <gtest/gtest.h>

// scripts/test refuses a wrong command line before it installs or builds.

using namespace test;

namespace
{

Completed scriptsTest(const std::vector<std::string>& arguments)
{
    std::vector<std::string> command{fromEnvironment("WEXA_SOURCES") +
                                     "/scripts/test"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return run(command);
}

Completed refusal(const std::string& reason)
{
    return {2, "",
            "test: " + reason +
                "\nusage: scripts/test [gcc|sanitized]... "
                "[FOLDER [FILTER]]\n"};
}

TEST(ScriptsTest, RefusesAFolderWithoutTests)
{
    EXPECT_EQ(scriptsTest({"nonsense"}),
              refusal("neither a build nor a folder with tests: nonsense"));
    EXPECT_EQ(scriptsTest({"gcc", ".."}),
              refusal("neither a build nor a folder with tests: .."));
}

TEST(ScriptsTest, RefusesAFilterThatTheShellExpanded)
{
    EXPECT_EQ(scriptsTest({"tools", "first", "second"}),
              refusal("one folder and one filter at most; quote the filter"));
}

} // namespace
