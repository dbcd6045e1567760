// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace wexa::core
{

/** Where the CPLD update manager, which owns the devices, lives; and what an
 *  object of each device offers.
 */
const std::string cpldUpdateMgrService = "xyz.openbmc_project.CpldUpdateMgrSvc";
const std::string cpldUpdateMgrPath = "/xyz/openbmc_project/cpld_update_mgr";
const std::string cpldUpdateMgrInterface =
    "xyz.openbmc_project.cpld_update_mgr.CpldUpdateMgrSvc";
const std::string cpldDeviceInterface =
    "xyz.openbmc_project.cpld_update_mgr.CpldDevice";

} // namespace wexa::core
