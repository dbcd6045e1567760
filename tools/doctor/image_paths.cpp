// SPDX-License-Identifier: Apache-2.0
#include "../common/kind.hpp"
#include "../common/unit_name.hpp"
#include "checks.hpp"

#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

/** Of a kind, and of the components whose names unit names can carry. */
static std::size_t longestPath(const std::string& kind,
                               const cpld::Registry& components)
{
    auto longest = longestUnitName - flashUnitName(kind, "", "").size();
    if (kindNamed(kind).hasComponents)
    {
        std::size_t name = 0;
        for (const auto& component : components)
        {
            name = std::max(name, component.first.size());
        }
        // The blank behind the component is escaped.
        longest -= std::min(longest, name + std::string(R"(\x20)").size());
    }
    return longest;
}

static void checkDirectory(Findings& findings, const std::string& given,
                           std::size_t longest)
{
    const auto directory = fs::absolute(given).lexically_normal().string();
    if (!fs::is_directory(directory) ||
        access(directory.c_str(), R_OK | X_OK) != 0)
    {
        findings.failure(directory + " is not a directory that can be read",
                         "name the directory where images are kept");
        return;
    }
    if (const auto obstacle = obstacleOfPath(directory))
    {
        findings.failure(directory + ": " + obstacle->what, obstacle->hint);
        return;
    }
    if (directory.size() + 2 > longest)
    {
        findings.failure(directory + " is too long a path to keep images in",
                         "keep images in a directory with a shorter path");
        return;
    }
    findings.ok("images in " + directory + " may have names of up to " +
                std::to_string(longest - directory.size() - 1) + " characters");
}

void checkImagePaths(Findings& findings, const Kinds& kinds,
                     const cpld::Registry& components,
                     const std::string& directory)
{
    findings.area("paths of images");
    auto shortest = longestUnitName;
    for (const auto& kind : kinds)
    {
        const auto longest = longestPath(kind, components);
        shortest = std::min(shortest, longest);
        findings.ok(kind + ": up to " + std::to_string(longest) +
                    " characters of " + carriedCharacters);
        if (kindNamed(kind).hasComponents && components.empty())
        {
            findings.notChecked("how many characters the name of a component "
                                "takes of those, since no component is known");
        }
    }
    if (!directory.empty())
    {
        checkDirectory(findings, directory, shortest);
    }
}
