// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace test
{

/** What happens to a flash after it was started. */
enum class Meanwhile
{
    nothing,
    stop,
    startAgain,
    reload,
};

struct Flash
{
    std::string name;

    /** The unit's text: "{}" stands for a file that a flash makes, and which
     *  one that takes its time makes once there is another of the same name
     *  and ".now". Empty: there is no such unit.
     */
    std::string unit;

    /** systemd's words for the jobs that end, in order. */
    std::vector<std::string> results;
    bool flashes = false;
    Meanwhile meanwhile = Meanwhile::nothing;

    /** What systemd says of a start that it refuses: "{}" stands for the name
     *  of the unit.
     */
    std::string refusal{};
    std::string imagePath = "/tmp/image";
    bool isMasked = false;
};

/** A unit's text; the simulated BMC's systemd has none of the targets that
 *  units depend on by default.
 */
std::string oneshot(const std::string& service, const std::string& unit = "");

/** Flashes of all sorts: what systemd says of each, and whether it flashes. */
std::vector<Flash> flashes();

} // namespace test
