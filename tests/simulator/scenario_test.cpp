// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/rights.hpp"
#include "../support/simulation.hpp"
#include "../support/temporary_directory.hpp"
#include "bmcsim_program.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

// What can be wrong with a simulated BMC, by name.

using namespace test;

namespace
{

std::vector<std::string> names()
{
    std::vector<std::string> all;
    std::istringstream list(runBmcsim({"scenarios"}).out);
    for (std::string line; std::getline(list, line);)
    {
        all.push_back(line.substr(0, line.find(' ')));
    }
    return all;
}

TEST(Scenarios, AreListedWithASentenceEach)
{
    const auto listed = runBmcsim({"scenarios"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_EQ(listed.err, "");
    std::istringstream list(listed.out);
    auto count = 0;
    for (std::string line; std::getline(list, line); ++count)
    {
        EXPECT_THAT(line, testing::MatchesRegex("[a-z-]+ +[A-Za-z].*\\."));
    }
    EXPECT_GE(count, 12);
}

TEST(Scenarios, AllComeUp)
{
    SKIP_WITHOUT_SYSTEMD();
    for (const auto& name : names())
    {
        EXPECT_EQ(runBmcsim({"run", "--scenario", name, "--", "echo", "up"}),
                  (Completed{0, "up\n", ""}))
            << name;
    }
}

TEST(Scenarios, CanBeChangedByFurtherSettings)
{
    const Simulation bmc({"--manager", "builtin", "--scenario",
                          "security-absent", "--set", "security=refuse",
                          "--set", "board-id=9"});
    EXPECT_EQ(bmc.state()["services"]["security"]["behaviour"], "refuse");
    EXPECT_EQ(bmc.state()["services"]["host"]["values"]["board-id"], "9");
}

TEST(Scenarios, CanBeFilesOfTheUser)
{
    const TemporaryDirectory directory;
    const auto file = directory.file("mine.scenario");
    writeBytes(file, "# Two things at once.\n\nfwinfo=absent\n# and\n"
                     "board-id=7\n");
    const Simulation bmc({"--manager", "builtin", "--scenario", file});
    EXPECT_EQ(bmc.state()["services"]["fwinfo"]["behaviour"], "absent");
    EXPECT_EQ(bmc.state()["services"]["host"]["values"]["board-id"], "7");
}

TEST(Scenarios, ThatCannotBeReadAreRefusedWithTheReason)
{
    const auto refused = [](const std::string& name, const std::string& why) {
        EXPECT_EQ(
            runBmcsim({"run", "--scenario", name, "--", "true"}),
            (Completed{2, "",
                       "wexa-bmcsim: " + why + "; see wexa-bmcsim --help\n"}));
    };
    const TemporaryDirectory directory;
    const auto file = directory.file("mine");
    refused("odd", "there is no scenario 'odd'; wexa-bmcsim scenarios lists "
                   "all, and a file of your own is named with a \"/\"");
    refused(file, "there is no file " + file);
    writeBytes(file, "fwinfo=absent\n");
    refused(file, file + " does not begin with \"# \" and what the scenario "
                         "is");
    writeBytes(file, "# One.\nfwinfo=absent\nfwinfo\n");
    refused(file, file + ":3: 'fwinfo' is not NAME=VALUE, such as "
                         "security=refuse");
}

TEST(Scenarios, OfAMovedBuildFolderAreBesideTheProgram)
{
    const TemporaryDirectory moved;
    const auto program = moved.file("wexa-bmcsim");
    std::filesystem::copy_file(fromEnvironment("WEXA_BMCSIM"), program);
    std::filesystem::create_directory(moved.file("scenarios"));
    writeBytes(moved.file("scenarios/mine.scenario"),
               "# Two things at once.\n");
    EXPECT_EQ(run({program, "scenarios"}),
              (Completed{0, "mine  Two things at once.\n", ""}));
}

TEST(BusOfTheSimulatedBmc, CanGoAtAnyTime)
{
    Simulation bmc({"--manager", "builtin"});
    bmc.set("bus", "gone");
    EXPECT_EQ(bmc.run({"wexa-bmcsim", "state"}),
              (Completed{1, "",
                         "wexa-bmcsim: the bus of the simulated BMC in " +
                             bmc.directory() + " is gone\n"}));
    EXPECT_EQ(bmc.end().status, 128 + 15);
}

} // namespace
