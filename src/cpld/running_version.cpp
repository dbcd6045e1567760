// SPDX-License-Identifier: Apache-2.0
#include "../common/log.hpp"
#include "../common/remote_call.hpp"
#include "names.hpp"

#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

std::string
FWManagerInternal::getCPLDVersionString(std::string deviceObjectPath)
{
    if (deviceObjectPath.empty())
    {
        log::error("ERROR !! device objpath is empty\n");
        return {};
    }

    auto call =
        newCall(bus, {cpldUpdateMgrService.c_str(), deviceObjectPath.c_str(),
                      cpldDeviceInterface.c_str(), "readMBVersionString"});
    try
    {
        return callFor<std::string>(bus, call);
    }
    catch (const RemoteError& failure)
    {
        log::error("Error in method call for ({}, {}, {}: {})\n",
                   cpldUpdateMgrService, deviceObjectPath, cpldDeviceInterface,
                   failure.what());
        return {};
    }
}

} // namespace wexa::core
