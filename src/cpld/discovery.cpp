// SPDX-License-Identifier: Apache-2.0
#include "../common/log.hpp"
#include "registry.hpp"

#include <utility>

namespace wexa::core
{

CpldComponentMap FWManagerInternal::getAvailableCpldCompsInfo()
{
    log::progress("[getAvailableCpldCompsInfo]\n");

    auto call = newBoundDevicesCall(bus);
    CpldComponentMap components;
    try
    {
        for (auto& [name, record] : callFor<CpldDeviceMap>(bus, call))
        {
            auto& [path, driver, properties] = record;
            log::progress("Add component {}, dev {}, drv {}\n", name, path,
                          driver);
            components[name] = {getCPLDVersionString(path),
                                std::move(properties)};
        }
        return components;
    }
    catch (const std::exception& failure)
    {
        log::error("ERROR !! Failed to prepare CPLD info: {}\n",
                   failure.what());
        return {};
    }
}

} // namespace wexa::core
