// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tool_test.hpp"

namespace test
{

/** The update of a BMC image. */
class Update : public ToolTest
{
  protected:
    Update()
    {
        bmc.set("flash-time", "100");
    }

    std::string unit() const
    {
        return flashUnit("bmc", image);
    }

    /** How the tool ends after it has begun to wait. */
    Completed ended(int status, const std::string& what,
                    const Reason& reason) const
    {
        return {status, "",
                "flashing " + image + "\n" +
                    failureText(image + ": " + what, reason)};
    }

    Completed ended(int status, const std::string& what,
                    const std::string& hint) const
    {
        return ended(status, what, Reason{"", {}, "", hint});
    }

    /** What the tool says of the simulated flash program besides. */
    Reason ofTheProgram(const std::string& device,
                        const std::vector<std::string>& log,
                        const std::string& hint) const
    {
        return {"",
                {},
                "",
                hint,
                "",
                {fromEnvironment("WEXA_BMCSIM") + " write-flash " +
                 bmc.directory() + " " + device + " update " + image},
                log};
    }

    static std::string status(const std::string& unit)
    {
        return "systemctl --user status '" + unit + "'";
    }

    std::string seeLog() const
    {
        return "see what the flash program logged, and " + status(unit());
    }

    std::string mayRun() const
    {
        return "do not cut the power; see " + status(unit());
    }

    std::string unitTemplate(const std::string& name) const
    {
        return bmc.directory() + "/units/" + name + "@.service";
    }

    Completed update(const std::vector<std::string>& more = {}) const
    {
        std::vector<std::string> arguments{"update", "bmc", image};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return fwmgr(arguments);
    }

    std::string image = images.bmc("2.14.0");
};

} // namespace test
