// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/images.hpp"
#include "../support/simulation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace test
{

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

    /** How the tool ends where it refuses: one line, nothing else. */
    static Completed refusal(int status, const std::string& line)
    {
        return {status, "", "wexa-fwmgr: " + line + "\n"};
    }

    Simulation bmc;
    Images images;
};

/** Exit statuses, as README.md promises them. */
constexpr int wrongUsage = 2;
constexpr int imageRefused = 3;
constexpr int callFailed = 4;
constexpr int flashFailed = 5;
constexpr int flashNotRun = 6;
constexpr int timeOut = 7;

constexpr auto securityManagerAbsent =
    "Error in security method call for (/xyz/openbmc_project/security, "
    "xyz.openbmc_project.security.SecurityManager: sd_bus_call: "
    "org.freedesktop.DBus.Error.ServiceUnknown: The name "
    "xyz.openbmc_project.SecurityManager was not provided by any .service "
    "files";

} // namespace test
