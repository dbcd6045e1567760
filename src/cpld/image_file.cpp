// SPDX-License-Identifier: Apache-2.0
#include "../common/log.hpp"
#include "registry.hpp"

#include <filesystem>

namespace wexa::core
{

namespace fs = std::filesystem;

/** The signed image in a directory; the directory where it holds none. */
static std::string signedImageIn(const std::string& directory)
{
    for (const auto& entry : fs::directory_iterator(directory))
    {
        // The whole path is searched: in a directory of that name the first
        // entry matches.
        auto path = entry.path().string();
        if (path.find("image_cpld_signed") != std::string::npos)
        {
            return path;
        }
    }
    return directory;
}

PropertyMap FWManagerInternal::getCPLDImageFileInfo(std::string componentName,
                                                    std::string imagePath)
{
    if (!fs::exists(imagePath))
    {
        log::error("ERROR !! File {} does NOT exists\n", imagePath);
        return {};
    }
    if (fs::is_directory(imagePath))
    {
        imagePath = signedImageIn(imagePath);
    }

    auto registryCall = newBoundDevicesCall(bus);
    CpldDeviceMap devices;
    try
    {
        devices = callFor<CpldDeviceMap>(bus, registryCall);
    }
    catch (const RemoteError& failure)
    {
        log::error("ERROR !! Failed to prepare CPLD info: ({}, {}, {}): {}\n",
                   cpldUpdateMgrService, cpldUpdateMgrPath,
                   cpldUpdateMgrInterface, failure.what());
        return {};
    }

    // For a component that is not bound the member stays empty, and the
    // method call cannot be created.
    auto path = cpldUpdateMgrPath;
    auto interface = cpldUpdateMgrInterface;
    std::string member;
    if (const auto found = devices.find(componentName); found != devices.end())
    {
        path = std::get<0>(found->second);
        interface = cpldDeviceInterface;
        member = "readImageFileInfo";
    }

    auto call = newCall(bus, {cpldUpdateMgrService.c_str(), path.c_str(),
                              interface.c_str(), member.c_str()});
    call.append(imagePath);
    try
    {
        return callFor<PropertyMap>(bus, call);
    }
    catch (const std::exception& failure)
    {
        log::error("ERROR !! Failed to prepare CPLD image file info: ({}, {}, "
                   "{}, image file: {}): {}\n",
                   cpldUpdateMgrService, path, interface, imagePath,
                   failure.what());
        return {};
    }
}

std::string
FWManagerInternal::getCPLDImageFileVersionString(std::string componentName,
                                                 std::string imagePath)
{
    const auto info = getCPLDImageFileInfo(componentName, imagePath);
    if (info.empty())
    {
        log::error("Failed to get cpld image file info\n");
        return {};
    }
    const auto found = info.find("versionString");
    if (found == info.end())
    {
        log::error("Failed to get cpld image version string\n");
        return {};
    }
    auto version = std::get<std::string>(found->second);
    if (version.empty())
    {
        log::error("Version string is empty\n");
        return {};
    }
    return version;
}

} // namespace wexa::core
