// SPDX-License-Identifier: Apache-2.0
#include "../common/flash_launch.hpp"
#include "../common/log.hpp"

#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

int FWManagerInternal::UpdateBMC(std::string imagePath, VersionPurpose,
                                 std::string)
{
    log::progress("flashWrite bmc-rot2 start.\n");
    log::progress("image_path: {}\n", imagePath);

    auto call = newStartUnitCall(bus);
    serviceFile = flashUnitName("obmc-flash-bmc-rot2@", {"bmc_rot2", "update"},
                                imagePath);
    log::progress("bmcServiceFile: {}\n", serviceFile);

    return startUnit(bus, call, serviceFile, "bmc-rot2");
}

} // namespace wexa::core
