// SPDX-License-Identifier: Apache-2.0
#include "../support/process.hpp"

#include <gtest/gtest.h>

// Scripts refuse a wrong command line before they install or build.

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

TEST(ScriptsMutants, RefusesATextThatNoErrorHolds)
{
    // A comment of the list of errors holds this one.
    EXPECT_EQ(
        run({fromEnvironment("WEXA_SOURCES") + "/scripts/mutants", "Small"}),
        (Completed{2, "",
                   "mutants: no line of tests/mutants.txt holds: Small\n"
                   "usage: scripts/mutants [TEXT]    only the errors whose "
                   "line holds TEXT\n"}));
}

} // namespace
