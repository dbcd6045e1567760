// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace bmcsim
{

/** A unit file as the built-in manager reads it: of a service, or the template
 *  of one. It knows the settings of flash units; a file with others, or with a
 *  folder that adds to it, is refused, for it would not do what it says.
 */
struct UnitFile
{
    /** ConditionPathExists= or AssertPathExists=. */
    struct Condition
    {
        std::string type;
        bool triggers = false;
        bool isNegated = false;
        std::string parameter;

        bool holds() const;
    };

    struct Command
    {
        std::vector<std::string> words;
        bool ignoresFailure = false;
    };

    /** No limit where it is not set. */
    using Limit = std::optional<std::chrono::microseconds>;

    /** loaded, masked, not-found or bad-setting. */
    std::string loadState = "loaded";

    /** What is wrong with a bad setting, where systemd would not refuse it. */
    std::string error;

    /** Empty where there is no file. */
    std::filesystem::path path;

    std::string description;
    /** As systemd, the last of the file first. */
    std::vector<Condition> conditions;
    std::vector<Condition> asserts;
    /** Of Requires=, then of After=. */
    std::vector<std::string> requirements;
    std::vector<std::string> after;
    std::string type;
    std::vector<Command> execCondition;
    std::vector<Command> execStartPre;
    std::vector<Command> execStart;
    bool remainsAfterExit = false;
    Limit timeoutStart = std::chrono::seconds(90);
    Limit timeoutStop = std::chrono::seconds(90);
    std::vector<std::int32_t> successStatuses;
    /** NAME=VALUE, each name once. */
    std::vector<std::string> environment;

    /** As in the file: "append:/path"; or empty. */
    std::string standardOutput;
    std::string standardError;

    /** The file of a unit, with the specifiers of its instance replaced.
     *
     *  @param folder  where all unit files are
     */
    static UnitFile load(const std::filesystem::path& folder,
                         const std::string& unit);
};

} // namespace bmcsim
