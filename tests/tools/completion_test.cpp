// SPDX-License-Identifier: Apache-2.0
#include "../support/completion.hpp"
#include "fwmgr_help.hpp"
#include "scripted_board.hpp"

#include <filesystem>

// Bash offers the verbs and the options that the tool itself tells of, and no
// others. What it offers besides comes from others, and is never expanded.

using namespace test;

namespace
{

using Words = Help::Words;

Words completions(const std::vector<std::string>& words,
                  const std::vector<std::string>& environment = {})
{
    return completionsOf("tools/wexa-fwmgr.bash", fromEnvironment("WEXA_FWMGR"),
                         words, environment);
}

TEST(Completion, OffersEveryVerb)
{
    EXPECT_EQ(completions({""}), fwmgrHelp().verbs());
    EXPECT_EQ(completions({"up"}), (Words{"update", "upload"}));
}

TEST(Completion, OffersTheOptionsOfEachVerbAndThoseOfAll)
{
    EXPECT_EQ(completions({"--"}), fwmgrHelp().optionsOf({}));
    for (const auto& verb : fwmgrHelp().verbs())
    {
        auto expected = fwmgrHelp().optionsOf({});
        expected.merge(fwmgrHelp().optionsOf({verb}));
        EXPECT_EQ(completions({verb, "--"}), expected) << verb;
    }
}

TEST(Completion, OffersKindsFilesDirectoriesAndComponents)
{
    const Words kinds{"bmc", "bios", "cpld"};
    EXPECT_EQ(completions({"verify", ""}), kinds);
    EXPECT_EQ(completions({"--json", "doctor", ""}), kinds);
    EXPECT_EQ(completions({"doctor", "bmc", ""}), Words());
    EXPECT_EQ(completions({"components", ""}), Words());
    EXPECT_EQ(completions({"verify", "bmc", "/etc/os-rel"}),
              (Words{"/etc/os-release"}));
    EXPECT_EQ(completions({"doctor", "--daemon", "/etc/os-rel"}),
              (Words{"/etc/os-release"}));
    EXPECT_EQ(completions({"doctor", "--images", "/etc/default"}),
              (Words{"/etc/default"}));
    EXPECT_EQ(completions({"update", "bmc", "x", "--timeout", ""}), Words());
    EXPECT_EQ(completions({"--bus", ""}), (Words{"system"}));

    const Simulation bmc({"--manager", "builtin"});
    const auto components = [&](const std::string& typed) {
        return completions({"verify", "cpld", "x", "--component", typed},
                           bmc.environment());
    };
    EXPECT_EQ(components(""), (Words{"FAN_CPLD", "MB_CPLD", "SCM_CPLD"}));
    EXPECT_EQ(components("M"), (Words{"MB_CPLD"}));
    EXPECT_EQ(components("*"), Words());
    EXPECT_EQ(completions({"--bus", bmc.busAddress(), "verify", "cpld", "x",
                           "--component", "M"}),
              (Words{"MB_CPLD"}));
    EXPECT_EQ(completions({"--bus=" + bmc.busAddress(), "verify", "cpld", "x",
                           "--component", "M"}),
              (Words{"MB_CPLD"}));
    EXPECT_EQ(completions({"verify", "cpld", "x", "--component=M"},
                          bmc.environment()),
              (Words{"MB_CPLD"}));
    EXPECT_EQ(completions({"doctor", "--images=/etc/default"}),
              (Words{"/etc/default"}));
}

class CompletionOnAScriptedBoard : public ScriptedBoard
{
  protected:
    /** Would make the file that tells of it. */
    std::vector<std::string> commands() const
    {
        return {"$(touch " + canary() + ")",    "`touch " + canary() + "`",
                "a$(touch " + canary() + ")",   "x;touch " + canary(),
                "x[$(touch " + canary() + ")]", "<(touch " + canary() + ")"};
    }

    std::string canary() const
    {
        return images.folder() + "/canary";
    }
};

TEST_F(CompletionOnAScriptedBoard, OffersNamesOfPlainCharactersOnly)
{
    auto names = commands();
    for (const auto* name :
         {"A B", "A  B", "A\nB", "A\n      \"FORGED\": {\n", "*", "/etc/*",
          "{A,B}", "~", "~root", "$HOME", "A\\B", "A'B", "A\"B", "A\x1b",
          "A\xc3\xa4", "--json", "", "A/B", "MB-1:0_a.b@c"})
    {
        names.emplace_back(name);
    }
    std::vector<cpld_manager::Device> devices;
    for (const auto& name : names)
    {
        devices.push_back({name,
                           "/cpld",
                           "jtag",
                           {cpld_manager::text("A  B", "C"),
                            cpld_manager::text("vendor", "\n      \"A\": {")}});
    }
    offerCplds(devices, "1");

    EXPECT_EQ(
        completions({"verify", "cpld", "x", "--component", ""}, environment()),
        (Words{"MB-1:0_a.b@c"}));
    EXPECT_FALSE(std::filesystem::exists(canary()));
}

TEST_F(CompletionOnAScriptedBoard, DoesNotExpandWhatIsTyped)
{
    offerCplds({{"MB_CPLD", "/cpld", "jtag", {}}}, "1");
    for (const auto& typed : commands())
    {
        for (const std::vector<std::string>& before :
             {std::vector<std::string>{},
              {"verify"},
              {"verify", "bmc"},
              {"doctor", "--daemon"},
              {"doctor", "--images"},
              {"--bus"},
              {"verify", "cpld", "x", "--component"}})
        {
            auto words = before;
            words.push_back(typed);
            EXPECT_EQ(completions(words, environment()), Words());
        }
    }
    EXPECT_FALSE(std::filesystem::exists(canary()));
}

} // namespace
