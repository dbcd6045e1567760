// SPDX-License-Identifier: Apache-2.0
#include "active_flashes.hpp"

#include "object_path.hpp"
#include "patience.hpp"
#include "systemd.hpp"

#include <sdbusplus/message.hpp>

#include <cstdint>
#include <tuple>

std::vector<std::string> activeFlashes(sdbusplus::bus_t& bus,
                                       const std::string& beginning)
{
    /** Name, description, load, active and sub state, followed unit, object,
     *  job, its type, its object.
     */
    using Unit = std::tuple<std::string, std::string, std::string, std::string,
                            std::string, std::string, ObjectPath, std::uint32_t,
                            std::string, ObjectPath>;

    auto call =
        bus.new_method_call(systemd::service, systemd::path,
                            systemd::managerInterface, "ListUnitsByPatterns");
    call.append(std::vector<std::string>{},
                std::vector<std::string>{beginning + '*'});
    std::vector<Unit> units;
    bus.call(call, patience).read(units);

    std::vector<std::string> active;
    for (const auto& unit : units)
    {
        const auto& state = std::get<3>(unit);
        // A unit that remains after exit is active although nothing runs.
        const auto runs = state != "inactive" && state != "failed" &&
                          std::get<4>(unit) != "exited";
        const auto hasJob = std::get<7>(unit) != 0;
        if (runs || hasJob)
        {
            active.push_back(std::get<0>(unit));
        }
    }
    return active;
}
