// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/matches.hpp"
#include "../support/process.hpp"
#include "../support/simulation.hpp"

#include <gtest/gtest.h>

#include <set>

// The manual page and the completion know the verbs and the options that the
// tool itself tells of, and no others.

using namespace test;

namespace
{

using Words = std::set<std::string>;

std::string help(const std::vector<std::string>& verb)
{
    std::vector<std::string> command{fromEnvironment("WEXA_FWMGR")};
    command.insert(command.end(), verb.begin(), verb.end());
    command.emplace_back("--help");
    return run(command).out;
}

Words verbs()
{
    const auto text = help({});
    return matchesIn(text.substr(text.find("Subcommands:")), "^  ([a-z]+) ");
}

/** Those at the beginning of a line, where they are explained. */
Words optionsOf(const std::vector<std::string>& verb)
{
    return matchesIn(help(verb), "^  (?:-h,)?(--[a-z-]+)");
}

Words allOptions()
{
    auto all = optionsOf({});
    for (const auto& verb : verbs())
    {
        all.merge(optionsOf({verb}));
    }
    return all;
}

std::string source(const std::string& file)
{
    return bytesOf(fromEnvironment("WEXA_SOURCES") + "/tools/" + file);
}

TEST(Manual, ExplainsEveryVerbAndNoOther)
{
    const auto page = source("wexa-fwmgr.1");
    EXPECT_EQ(matchesIn(page, "^\\.It Cm ([a-z]+)$"), verbs());
    // In the synopsis as well.
    EXPECT_EQ(matchesIn(page, "^\\.Nm\n\\.Cm ([a-z]+)"), verbs());
}

TEST(Manual, ExplainsEveryOptionAndNoOther)
{
    Words explained;
    for (const auto& option :
         matchesIn(source("wexa-fwmgr.1"), "^\\.It Fl (-[a-z-]+)"))
    {
        explained.insert("-" + option);
    }
    EXPECT_EQ(explained, allOptions());
}

TEST(Manual, ExplainsEveryExitStatusOfReadme)
{
    const auto readme = bytesOf(fromEnvironment("WEXA_SOURCES") + "/README.md");
    const auto table = readme.substr(readme.find("| exit status |"));
    EXPECT_EQ(matchesIn(source("wexa-fwmgr.1"), "^\\.It ([0-9, ]+)$"),
              matchesIn(table.substr(0, table.find("\n\n")), "^\\| ([0-9, ]+) "
                                                             "\\|"));
}

/** What bash offers at the end of a line. */
Words completions(const std::string& line,
                  const std::vector<std::string>& environment = {})
{
    const auto script = "source '" + fromEnvironment("WEXA_SOURCES") +
                        "/tools/wexa-fwmgr.bash'\n"
                        "PATH=$(dirname '" +
                        fromEnvironment("WEXA_FWMGR") +
                        "'):$PATH\n"
                        "read -ra COMP_WORDS <<<'" +
                        line +
                        "'\n"
                        "[[ '" +
                        line +
                        "' != *' ' ]] || COMP_WORDS+=('')\n"
                        "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                        "_wexa_fwmgr\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n";
    const auto done = run({"bash", "-c", script}, environment);
    EXPECT_EQ(done.err, "");
    return matchesIn(done.out, "^(.+)$");
}

TEST(Completion, OffersEveryVerb)
{
    EXPECT_EQ(completions("wexa-fwmgr "), verbs());
    EXPECT_EQ(completions("wexa-fwmgr up"), (Words{"update", "upload"}));
}

TEST(Completion, OffersTheOptionsOfEachVerbAndThoseOfAll)
{
    EXPECT_EQ(completions("wexa-fwmgr --"), optionsOf({}));
    for (const auto& verb : verbs())
    {
        auto expected = optionsOf({});
        expected.merge(optionsOf({verb}));
        EXPECT_EQ(completions("wexa-fwmgr " + verb + " --"), expected) << verb;
    }
}

TEST(Completion, OffersKindsFilesDirectoriesAndComponents)
{
    const Words kinds{"bmc", "bios", "cpld"};
    EXPECT_EQ(completions("wexa-fwmgr verify "), kinds);
    EXPECT_EQ(completions("wexa-fwmgr --json doctor "), kinds);
    EXPECT_EQ(completions("wexa-fwmgr doctor bmc "), Words());
    EXPECT_EQ(completions("wexa-fwmgr verify bmc /etc/os-rel"),
              (Words{"/etc/os-release"}));
    EXPECT_EQ(completions("wexa-fwmgr doctor --images /etc/default"),
              (Words{"/etc/default"}));
    EXPECT_EQ(completions("wexa-fwmgr update bmc x --timeout "), Words());
    EXPECT_EQ(completions("wexa-fwmgr --bus "), (Words{"system"}));

    const Simulation bmc({"--manager", "builtin"});
    EXPECT_EQ(
        completions("wexa-fwmgr verify cpld x --component ", bmc.environment()),
        (Words{"FAN_CPLD", "MB_CPLD", "SCM_CPLD"}));
}

} // namespace
