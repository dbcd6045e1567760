// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/images.hpp"
#include "../support/rights.hpp"
#include "../support/simulation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace test
{

/** What the tool says besides what failed. */
struct Reason
{
    std::string step;
    std::vector<std::string> library;
    std::string dbusError;
    std::string hint;
    /** The D-Bus call behind it. */
    std::string call = {};
    std::vector<std::string> commands = {};
    std::vector<std::string> log = {};
};

/** The flash unit of an image; of a CPLD image with its component. */
inline std::string flashUnit(const std::string& kind, std::string image,
                             const std::string& component = "")
{
    std::ranges::replace(image, '/', '-');
    const auto prefix = kind == "bios"
                            ? "obmc-flash-host-bios@bios_rot2"
                            : "obmc-flash-bmc-rot2@" + kind + "_rot2";
    return prefix + R"(\x20update\x20)" +
           (component.empty() ? "" : component + R"(\x20)") + image +
           ".service";
}

/** All that the tool writes where it fails. */
inline std::string failureText(const std::string& what, const Reason& reason)
{
    auto text = "wexa-fwmgr: " + what + '\n';
    const auto add = [&](const std::string& label, const std::string& detail) {
        text += detail.empty() ? "" : "  " + label + detail + '\n';
    };
    add("step:     ", reason.step);
    for (const auto& line : reason.library)
    {
        add("library:  ", line);
    }
    add("D-Bus:    ", reason.dbusError);
    add("call:     ", reason.call);
    for (const auto& command : reason.commands)
    {
        add("command:  ", command);
    }
    for (const auto& line : reason.log)
    {
        add("log:      ", line);
    }
    add("hint:     ", reason.hint);
    return text;
}

/** How the tool ends where it fails: nothing on standard output. */
inline Completed refusal(int status, const std::string& what,
                         const Reason& reason)
{
    return {status, "", failureText(what, reason)};
}

inline Completed refusal(int status, const std::string& what,
                         const std::string& hint)
{
    return refusal(status, what, Reason{"", {}, "", hint});
}

/** The tool as a user runs it, inside a simulated BMC. */
class ToolTest : public testing::Test
{
  protected:
    Completed fwmgr(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> command{"wexa-fwmgr"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return bmc.run(command);
    }

    /** `update`, started and left to run. */
    Process startedUpdate(const std::vector<std::string>& arguments) const
    {
        std::vector<std::string> command{fromEnvironment("WEXA_FWMGR"),
                                         "update"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return {command, bmc.environment()};
    }

    Simulation bmc;
    Images images;
};

/** Exit statuses, as README.md promises them. */
constexpr int unexpected = 1;
constexpr int wrongUsage = 2;
constexpr int imageRefused = 3;
constexpr int callFailed = 4;
constexpr int flashFailed = 5;
constexpr int flashNotRun = 6;
constexpr int mayStillRun = 7;
constexpr int notReady = 8;
constexpr int outcomeUnknown = 9;

constexpr auto serviceUnknown = "org.freedesktop.DBus.Error.ServiceUnknown";

/** What to do where a service is not there. */
constexpr auto startIt = "the service is not on the bus: start it; wexa-fwmgr "
                         "doctor shows all that is missing";

constexpr auto anotherType =
    "the service answers in another type than the library reads: update the "
    "service";

constexpr auto getAnother =
    "the image is of another kind, was changed, or is signed with a key that "
    "this board does not trust: get it again, or check the keys that this "
    "board trusts";

/** Why a path with a dash is not flashed, and what to do. */
constexpr auto dash = "the flash unit would read each \"-\" as \"/\"";
constexpr auto noDash = "move the image to a path without \"-\"";

constexpr auto bySecurityManager = "verification by the security manager";

constexpr auto byCpld = "verification by the CPLD";

constexpr auto securityManagerAbsent =
    "Error in security method call for (/xyz/openbmc_project/security, "
    "xyz.openbmc_project.security.SecurityManager: sd_bus_call: "
    "org.freedesktop.DBus.Error.ServiceUnknown: The name "
    "xyz.openbmc_project.SecurityManager was not provided by any .service "
    "files";

} // namespace test
