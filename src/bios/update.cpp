// SPDX-License-Identifier: Apache-2.0
#include "../common/flash_launch.hpp"
#include "../common/log.hpp"

#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

int FWManagerInternal::UpdateBIOS(std::string imagePath, VersionPurpose,
                                  std::string)
{
    log::progress("flashWriteBios: {}\n", imagePath);

    auto call = newStartUnitCall(bus);
    serviceFile = flashUnitName("obmc-flash-host-bios@",
                                {"bios_rot2", "update"}, imagePath);

    return startUnit(bus, call, serviceFile, "Host Bios");
}

} // namespace wexa::core
