// SPDX-License-Identifier: Apache-2.0
#include "../support/rights.hpp"
#include "../support/temporary_directory.hpp"
#include "document.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <regex>

// The console sessions in the documents, each document in one shell: what is
// shown is what comes. A line "..." stands for any lines, and at the end of a
// line for the rest of it; times and sizes that vary are not compared.

using namespace test;

namespace
{

struct Step
{
    std::string command;
    std::vector<std::string> shown;
};

/** All commands of a document's console sessions. */
std::vector<Step> stepsOf(const std::string& document)
{
    std::vector<Step> steps;
    auto inside = false;
    for (const auto& line : linesOf(textOf(document)))
    {
        if (line.starts_with("```"))
        {
            inside = line == "```console";
        }
        else if (inside && line.starts_with("$ "))
        {
            steps.push_back({line.substr(2), {}});
        }
        else if (inside)
        {
            steps.back().shown.push_back(line);
        }
    }
    return steps;
}

std::string replaced(std::string text, const std::string& what,
                     const std::string& by)
{
    for (auto at = text.find(what); at != std::string::npos;
         at = text.find(what, at + by.size()))
    {
        text.replace(at, what.size(), by);
    }
    return text;
}

std::string timeless(const std::string& line)
{
    static const std::regex time("[0-9]+\\.[0-9]+ (m?s)\\b");
    static const std::regex date("[0-9-]+T[0-9:]+[+-][0-9]{4}");
    static const std::regex directory("wexa-bmcsim\\.[A-Za-z0-9]{6}");
    return std::regex_replace(
        std::regex_replace(std::regex_replace(line, time, "N $1"), date,
                           "DATE"),
        directory, "wexa-bmcsim.XXXXXX");
}

bool fits(const std::string& shown, const std::string& came)
{
    if (shown.ends_with("..."))
    {
        return timeless(came).starts_with(
            timeless(shown.substr(0, shown.size() - 3)));
    }
    return timeless(shown) == timeless(came);
}

bool fits(std::vector<std::string> shown, std::vector<std::string> came)
{
    if (shown.empty())
    {
        return came.empty();
    }
    const auto first = shown.front();
    shown.erase(shown.begin());
    if (first == "...")
    {
        for (std::size_t i = 0; i <= came.size(); ++i)
        {
            if (fits(shown, {came.begin() + static_cast<std::ptrdiff_t>(i),
                             came.end()}))
            {
                return true;
            }
        }
        return false;
    }
    return !came.empty() && fits(first, came.front()) &&
           fits(shown, {came.begin() + 1, came.end()});
}

/** The documents' own folder of images is one of the test's, which is not
 *  there before a document makes it.
 */
class Folder
{
  public:
    std::string enter(const std::string& text) const
    {
        return replaced(text, "/tmp/images", images());
    }

    std::string leave(const std::string& text) const
    {
        auto escaped = images();
        std::ranges::replace(escaped, '/', '-');
        return replaced(replaced(text, images(), "/tmp/images"), escaped,
                        "-tmp-images");
    }

  private:
    std::string images() const
    {
        return directory.file("images");
    }

    TemporaryDirectory directory;
};

std::string searchPath()
{
    std::string path;
    for (const auto* program :
         {"WEXA_FWMGR", "WEXA_BMCSIM", "WEXA_MKIMAGE", "WEXA_DAEMON"})
    {
        path += std::filesystem::path(fromEnvironment(program))
                    .parent_path()
                    .string() +
                ":";
    }
    return "PATH=" + path + std::getenv("PATH");
}

/** What each command of a document prints, in one shell. */
std::vector<std::vector<std::string>> carriedOut(const std::vector<Step>& steps)
{
    const Folder folder;
    const std::string border = "----------------";
    std::string script = "exec 2>&1\n";
    for (const auto& step : steps)
    {
        script += folder.enter(step.command) + "\necho " + border + "\n";
    }
    // Others' simulated BMCs are not to be seen.
    const TemporaryDirectory temporary;
    const auto done =
        run({"bash", "-c", script},
            {searchPath(), "TMPDIR=" + temporary.path().string()});
    std::vector<std::vector<std::string>> outputs(1);
    for (const auto& line : linesOf(folder.leave(done.out)))
    {
        if (line == border)
        {
            outputs.emplace_back();
        }
        else
        {
            outputs.back().push_back(line);
        }
    }
    outputs.pop_back();
    return outputs;
}

class Console : public testing::TestWithParam<std::string>
{};

TEST_P(Console, ShowsWhatComes)
{
    if (textOf(GetParam()).find("$ wexa-bmcsim run") != std::string::npos)
    {
        SKIP_WITHOUT_SYSTEMD();
    }
    const auto steps = stepsOf(GetParam());
    const auto outputs = carriedOut(steps);
    ASSERT_EQ(outputs.size(), steps.size());
    for (std::size_t i = 0; i < steps.size(); ++i)
    {
        EXPECT_TRUE(fits(steps[i].shown, outputs[i]))
            << GetParam() << ": $ " << steps[i].command << "\nprints\n"
            << testing::PrintToString(outputs[i]) << "\nwhere this is shown\n"
            << testing::PrintToString(steps[i].shown);
    }
}

std::vector<std::string> documentsWithConsoles()
{
    std::vector<std::string> found;
    for (const auto& document : documents())
    {
        if (!stepsOf(document).empty())
        {
            found.push_back(document);
        }
    }
    return found;
}

INSTANTIATE_TEST_SUITE_P(Documents, Console,
                         testing::ValuesIn(documentsWithConsoles()),
                         [](const auto& row) {
                             return std::regex_replace(
                                 row.param, std::regex("[^a-z]"), "_");
                         });

TEST(Consoles, AreInTheDocumentsForEachSortOfReader)
{
    EXPECT_THAT(
        documentsWithConsoles(),
        testing::IsSupersetOf({"docs/bring-up.md", "docs/daemon-authors.md",
                               "docs/simulator.md"}));
}

} // namespace
