// SPDX-License-Identifier: Apache-2.0
#include "../common/active_flashes.hpp"
#include "../common/kind.hpp"
#include "../common/unit_name.hpp"
#include "checks.hpp"

#include <sdbusplus/exception.hpp>

/** The image, with the component before it where there is one. */
static std::string imageOf(const std::string& unit)
{
    const std::string before = " update ";
    const auto instance = unescapedInstance(unit);
    return instance.substr(instance.find(before) + before.size());
}

void checkRunningFlashes(Findings& findings, sdbusplus::bus_t& bus,
                         const Kinds& kinds)
{
    try
    {
        auto isAny = false;
        for (const auto& name : kinds)
        {
            const auto& kind = kindNamed(name);
            for (const auto& unit :
                 activeFlashes(bus, kind.unitPrefix + kind.unitWords))
            {
                isAny = true;
                findings.warning(imageOf(unit) + " is being flashed, by " +
                                     unit,
                                 "leave the board on, and start no other "
                                 "flash, until it has ended");
            }
        }
        if (!isAny)
        {
            findings.ok("nothing is being flashed");
        }
    }
    catch (const sdbusplus::exception_t& error)
    {
        findings.notChecked(
            std::string("whether something is being flashed, since systemd "
                        "does not tell its units (") +
            error.name() + ")");
    }
}
