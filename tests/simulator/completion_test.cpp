// SPDX-License-Identifier: Apache-2.0
#include "../support/completion.hpp"
#include "../support/help_text.hpp"
#include "../support/rights.hpp"
#include "../support/simulation.hpp"

#include <gtest/gtest.h>

// Bash offers what the programs themselves tell of, and nothing else.

using namespace test;

namespace
{

using Words = Help::Words;

Words completions(const std::vector<std::string>& words)
{
    return completionsOf("simulator/wexa-bmcsim.bash",
                         fromEnvironment("WEXA_BMCSIM"), words);
}

/** The names after "there are " in an error. */
Words known(const std::string& error)
{
    const auto list = error.substr(error.find("there are ") + 9);
    return matchesIn(list.substr(0, list.find(';')), " ((?!and )[A-Za-z_-]+)");
}

TEST(CompletionOfBmcsim, OffersTheCommandsAndTheOptionsOfEach)
{
    const Help help(fromEnvironment("WEXA_BMCSIM"));
    EXPECT_EQ(completions({""}), help.verbs());
    EXPECT_EQ(completions({"s"}), (Words{"scenarios", "set", "state"}));
    EXPECT_EQ(completions({"-"}), help.optionsOf({}));
    for (const auto& verb : help.verbs())
    {
        EXPECT_EQ(completions({verb, "-"}), help.optionsOf({verb})) << verb;
    }
}

TEST(CompletionOfBmcsim, OffersEverySettingAndItsValues)
{
    SKIP_WITHOUT_SYSTEMD();
    const Simulation bmc;
    const auto values = [&](const std::string& name) {
        return known(bmc.run({"wexa-bmcsim", "set", name, "?"}).err);
    };
    const auto settings = values("?");
    EXPECT_EQ(completions({"set", ""}), settings);
    for (const auto& name : settings)
    {
        EXPECT_EQ(completions({"set", name, ""}),
                  name == "apply-time"
                      ? (Words{"Immediate", "OnReset", "OnStartUpdateRequest"})
                  : name == "board-id" || name.ends_with("-time") ||
                          name.ends_with("-timeout")
                      ? Words()
                      : values(name))
            << name;
        EXPECT_EQ(completions({"set", name, "x", ""}), Words()) << name;
        EXPECT_TRUE(completions({"run", "--set", ""}).contains(name + "="));
    }
}

TEST(CompletionOfBmcsim, OffersScenariosManagersCommandsAndFiles)
{
    EXPECT_EQ(completions({"run", "--scenario", "flash-f"}),
              (Words{"flash-fails"}));
    EXPECT_EQ(completions({"run", "--manager", ""}),
              (Words{"auto", "builtin", "systemd"}));
    EXPECT_EQ(completions({"run", "--bus", ""}), Words());
    EXPECT_EQ(completions({"state", "--dir", "/etc/default"}),
              (Words{"/etc/default"}));
    EXPECT_EQ(completions({"run", "wexa-bmcs"}), (Words{"wexa-bmcsim"}));
    EXPECT_EQ(completions({"run", "--", "wexa-bmcs"}), (Words{"wexa-bmcsim"}));
    EXPECT_EQ(completions({"run", "--", "cat", "/etc/os-rel"}),
              (Words{"/etc/os-release"}));
}

TEST(CompletionOfMkimage, OffersTheOptionsAndTheirValues)
{
    const auto offered = [](const std::vector<std::string>& words) {
        return completionsOf("subprojects/wexacore/wexa-mkimage.bash",
                             fromEnvironment("WEXA_MKIMAGE"), words);
    };
    const auto accepted = [](const std::string& option) {
        return known(
            run({fromEnvironment("WEXA_MKIMAGE"), option, "?", "--version", "1",
                 option == "--kind" ? "--broken=digest" : "--kind=bmc",
                 "/nonexistent/image"})
                .err);
    };
    EXPECT_EQ(offered({"-"}),
              Help(fromEnvironment("WEXA_MKIMAGE")).optionsOf({}));
    for (const auto* const option : {"--kind", "--broken"})
    {
        EXPECT_EQ(offered({option, ""}), accepted(option)) << option;
    }
    EXPECT_EQ(offered({"--capsule-kind", ""}), (Words{"1", "2", "3"}));
    EXPECT_EQ(offered({"--seed", ""}), Words());
    EXPECT_EQ(offered({"/etc/os-rel"}), (Words{"/etc/os-release"}));
    EXPECT_EQ(offered({"--payload", "/etc/os-rel"}),
              (Words{"/etc/os-release"}));
}

} // namespace
