// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>

/** The name of the unit that the library starts.
 *
 *  @param component  of a CPLD image; else empty
 */
std::string flashUnitName(const std::string& kind, const std::string& component,
                          const std::string& imagePath);

/** What a unit makes of the instance in its name: %I. */
std::string unescapedInstance(const std::string& unit);

constexpr std::size_t longestUnitName = 255;

/** Whether systemd takes it for the name of a unit. */
bool isUnitName(const std::string& name);

/** The characters that a path may have, in words. */
constexpr auto carriedCharacters =
    R"(letters, digits, "/", ":", "_", "." and "@")";

/** What is wrong, and what to do about it. */
struct Obstacle
{
    std::string what;
    std::string hint;
};

/** Why a flash unit would not be given this very path: the name of a unit
 *  carries it with every "/" turned into "-" and nothing else escaped.
 */
std::optional<Obstacle> obstacleOfPath(const std::string& imagePath);

/** The same for the name of a component. */
std::optional<Obstacle> obstacleOfComponent(const std::string& component);

/** Why systemd would not take the name of a unit for its length. */
std::optional<Obstacle> obstacleOfLength(const std::string& unit);

/** Why the flash unit of an image would not be given this very image: the first
 *  of these reasons, which names the image or the component.
 */
std::optional<Obstacle> obstacleOfUpdate(const std::string& kind,
                                         const std::string& component,
                                         const std::string& imagePath);
