// SPDX-License-Identifier: Apache-2.0
#include "../common/patience.hpp"
#include "../common/systemd.hpp"
#include "../common/unit_name.hpp"
#include "checks.hpp"

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

#include <algorithm>
#include <cstdint>
#include <tuple>

/** As systemd lists a unit: name, description, load state, active state, sub
 *  state, followed unit, object; number, kind and object of its job.
 */
using ListedUnit =
    std::tuple<std::string, std::string, std::string, std::string, std::string,
               std::string, sdbusplus::message::object_path, std::uint32_t,
               std::string, sdbusplus::message::object_path>;

static std::vector<ListedUnit> activeFlashUnits(sdbusplus::bus::bus& bus)
{
    std::vector<std::string> patterns;
    for (const auto& flash : flashTemplates())
    {
        patterns.push_back(flash.prefix + "*.service");
    }
    auto call =
        bus.new_method_call(systemd::service, systemd::path,
                            systemd::managerInterface, "ListUnitsByPatterns");
    call.append(std::vector<std::string>{"activating", "active", "reloading",
                                         "deactivating"},
                patterns);
    std::vector<ListedUnit> units;
    bus.call(call, patience).read(units);
    return units;
}

/** Whether a unit is of these kinds of firmware, and its program runs. */
static bool isRunning(const ListedUnit& unit, const Kinds& kinds)
{
    const auto& name = std::get<0>(unit);
    // A unit that remains after exit is active although nothing runs.
    return std::get<4>(unit) != "exited" &&
           std::ranges::any_of(kinds, [&](const auto& kind) {
               const auto& flash = flashTemplateOf(kind);
               return name.starts_with(flash.prefix + flash.words);
           });
}

/** The image, with the component before it where there is one. */
static std::string imageOf(const std::string& unit)
{
    const std::string before = " update ";
    const auto instance = unescapedInstance(unit);
    return instance.substr(instance.find(before) + before.size());
}

void checkRunningFlashes(Findings& findings, sdbusplus::bus::bus& bus,
                         const Kinds& kinds)
{
    try
    {
        auto isAny = false;
        for (const auto& unit : activeFlashUnits(bus))
        {
            if (isRunning(unit, kinds))
            {
                isAny = true;
                findings.warning(imageOf(std::get<0>(unit)) +
                                     " is being flashed, by " +
                                     std::get<0>(unit),
                                 "leave the board on, and start no other "
                                 "flash, until it has ended");
            }
        }
        if (!isAny)
        {
            findings.ok("nothing is being flashed");
        }
    }
    catch (const sdbusplus::exception::exception& error)
    {
        findings.notChecked(
            std::string("whether something is being flashed, since systemd "
                        "does not tell its units (") +
            error.name() + ")");
    }
}
