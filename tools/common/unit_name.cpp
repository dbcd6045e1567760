// SPDX-License-Identifier: Apache-2.0
#include "unit_name.hpp"

#include "kind.hpp"

#include <unit_instance.hpp>

#include <algorithm>
#include <string_view>

std::string flashUnitName(const std::string& kind, const std::string& component,
                          const std::string& imagePath)
{
    const auto& known = kindNamed(kind);
    auto path = imagePath;
    std::ranges::replace(path, '/', '-');
    return known.unitPrefix + known.unitWords +
           (component.empty() ? "" : component + R"(\x20)") + path + ".service";
}

std::string unescapedInstance(const std::string& unit)
{
    const auto at = unit.find('@') + 1;
    return plain::unescaped(unit.substr(at, unit.rfind('.') - at));
}

static bool isCarried(char c)
{
    constexpr std::string_view others = "/:_.@";
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
           (c >= 'A' && c <= 'Z') || others.find(c) != std::string_view::npos;
}

bool isUnitName(const std::string& name)
{
    return name.size() <= longestUnitName &&
           std::ranges::all_of(name, [](char c) {
               return c != '/' && (isCarried(c) || c == '-' || c == '\\');
           });
}

std::optional<Obstacle> obstacleOfPath(const std::string& imagePath)
{
    if (imagePath.find('-') != std::string::npos)
    {
        return Obstacle{R"(the flash unit would read each "-" as "/")",
                        R"(move the image to a path without "-")"};
    }
    if (!std::ranges::all_of(imagePath, isCarried))
    {
        return Obstacle{"a unit name cannot carry this path",
                        std::string("move the image to a path of ") +
                            carriedCharacters};
    }
    return {};
}

std::optional<Obstacle> obstacleOfComponent(const std::string& component)
{
    if (component.find('/') != std::string::npos ||
        !std::ranges::all_of(component, isCarried))
    {
        return Obstacle{
            "a unit name cannot carry this name",
            "have the CPLD update manager call it by letters, digits, \":\", "
            "\"_\", \".\" and \"@\""};
    }
    return {};
}

std::optional<Obstacle> obstacleOfLength(const std::string& unit)
{
    if (unit.size() > longestUnitName)
    {
        return Obstacle{"is " + std::to_string(unit.size() - longestUnitName) +
                            " characters too long for a unit name",
                        "move the image to a shorter path"};
    }
    return {};
}

static Obstacle of(const std::string& subject, const Obstacle& obstacle)
{
    return Obstacle{subject + ": " + obstacle.what, obstacle.hint};
}

std::optional<Obstacle> obstacleOfUpdate(const std::string& kind,
                                         const std::string& component,
                                         const std::string& imagePath)
{
    if (const auto obstacle = obstacleOfPath(imagePath))
    {
        return of(imagePath, *obstacle);
    }
    if (const auto obstacle = obstacleOfComponent(component))
    {
        return of("component " + component, *obstacle);
    }
    if (const auto obstacle =
            obstacleOfLength(flashUnitName(kind, component, imagePath)))
    {
        return of(imagePath, *obstacle);
    }
    return {};
}
