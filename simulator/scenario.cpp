// SPDX-License-Identifier: Apache-2.0
#include "scenario.hpp"

#include "child.hpp"

#include <plain.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace bmcsim
{

constexpr auto extension = ".scenario";

std::pair<std::string, std::string> assignment(const std::string& text)
{
    if (!plain::isUtf8(text))
    {
        throw std::invalid_argument("'" + text + "' is not UTF-8");
    }
    const auto equals = text.find('=');
    if (equals == std::string::npos)
    {
        throw std::invalid_argument("'" + text +
                                    "' is not NAME=VALUE, such as "
                                    "security=refuse");
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

/** The first line is a comment that describes it; then a setting a line. */
static Scenario read(const std::filesystem::path& file)
{
    Scenario scenario{file.stem(), "", {}};
    std::ifstream lines(file);
    std::string line;
    if (!std::getline(lines, line) || !line.starts_with("# "))
    {
        throw std::invalid_argument(file.string() +
                                    " does not begin with \"# \" and what the "
                                    "scenario is");
    }
    scenario.description = line.substr(2);
    for (auto number = 2; std::getline(lines, line); ++number)
    {
        if (line.empty() || line.starts_with('#'))
        {
            continue;
        }
        try
        {
            scenario.settings.push_back(assignment(line));
        }
        catch (const std::invalid_argument& error)
        {
            throw std::invalid_argument(file.string() + ":" +
                                        std::to_string(number) + ": " +
                                        error.what());
        }
    }
    return scenario;
}

/** Seen from the program, so that both can be moved: where an installation has
 *  the scenarios, or where a build folder has them.
 */
static std::filesystem::path folderOfScenarios()
{
    const auto here = std::filesystem::path(ownProgram()).parent_path();
    const auto built = here / "scenarios";
    const auto installed = here / BMCSIM_SCENARIOS;
    return is_directory(built) && !is_directory(installed)
               ? built
               : installed.lexically_normal();
}

std::vector<Scenario> scenarios()
{
    std::vector<Scenario> all;
    std::error_code error;
    const auto folder = folderOfScenarios();
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
    {
        if (entry.path().extension() == extension)
        {
            all.push_back(read(entry.path()));
        }
    }
    if (error)
    {
        throw std::invalid_argument("cannot read the scenarios in " +
                                    folder.string() + ": " + error.message() +
                                    "; install them there, or name a file");
    }
    std::ranges::sort(all, {}, &Scenario::name);
    return all;
}

Scenario scenarioNamed(const std::string& name)
{
    if (name.find('/') != std::string::npos)
    {
        if (!std::filesystem::is_regular_file(name))
        {
            throw std::invalid_argument("there is no file " + name);
        }
        return read(name);
    }
    for (const auto& scenario : scenarios())
    {
        if (scenario.name == name)
        {
            return scenario;
        }
    }
    throw std::invalid_argument("there is no scenario '" + name +
                                "'; wexa-bmcsim scenarios lists all, and a "
                                "file of your own is named with a \"/\"");
}

} // namespace bmcsim
