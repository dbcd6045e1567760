// SPDX-License-Identifier: Apache-2.0
#include "../common/log.hpp"
#include "registry.hpp"

#include <cerrno>

namespace wexa::core
{

int FWManagerInternal::VerifyCPLD(std::string imagePath, VersionPurpose,
                                  std::string componentName)
{
    log::progress("int wexa::core::FWManagerInternal::VerifyCPLD(std::string, "
                  "wexa::core::VersionPurpose, std::string)\n");
    log::progress("Verify {}, image: {}\n", componentName, imagePath);
    if (componentName.empty())
    {
        log::error("ERROR !! Failed to obtain component name.\n");
        return -EINVAL;
    }

    auto registryCall = newBoundDevicesCall(bus);
    CpldDeviceMap devices;
    try
    {
        devices = callFor<CpldDeviceMap>(bus, registryCall);
    }
    catch (const std::exception& failure)
    {
        log::error("ERROR !! Failed to obtain avaialble CPLD devices. "
                   "({},{},{}): {}\n",
                   cpldUpdateMgrService, cpldUpdateMgrPath,
                   cpldUpdateMgrInterface, failure.what());
        return -EIO;
    }

    const auto found = devices.find(componentName);
    if (found == devices.end())
    {
        log::error("ERROR !! Failed to find the target CPLD device: {}\n",
                   componentName);
        return -ENOENT;
    }

    const auto& path = std::get<0>(found->second);
    auto call = newCall(bus, {cpldUpdateMgrService.c_str(), path.c_str(),
                              cpldDeviceInterface.c_str(), "verifyCPLD"});
    call.append(imagePath);
    log::progress("verify image: {}\n", imagePath);
    try
    {
        const auto good = callFor<bool>(bus, call);
        log::progress(good ? "Verify OK\n" : "Verify failed\n");
        return good ? 0 : -EPERM;
    }
    catch (const RemoteError& failure)
    {
        log::error("Error in security method call for ({}, {}: {}\n", path,
                   cpldDeviceInterface, failure.what());
        return -EIO;
    }
}

} // namespace wexa::core
