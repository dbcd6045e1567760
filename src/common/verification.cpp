// SPDX-License-Identifier: Apache-2.0
#include "verification.hpp"

#include "log.hpp"
#include "remote_call.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <cerrno>

namespace wexa::core
{

int verifyBySecurityManager(sdbusplus::bus_t& bus, const char* member,
                            const std::string& imagePath)
{
    auto call =
        newCall(bus, {securityMgrService.c_str(), securityMgrPath.c_str(),
                      securityMgrInterface.c_str(), member});
    call.append(imagePath);
    log::progress("verify image: {}\n", imagePath);

    try
    {
        const auto authentic = callFor<bool>(bus, call);
        log::progress(authentic ? "Verify OK\n" : "Verify false\n");
        return authentic ? 0 : -EPERM;
    }
    catch (const RemoteError& failure)
    {
        log::error("Error in security method call for ({}, {}: {}\n",
                   securityMgrPath, securityMgrInterface, failure.what());
        return -EIO;
    }
}

} // namespace wexa::core
