// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>

#include <string>

namespace wexa::core
{

/** Asks the security manager whether an image is authentic.
 *
 *  @param member  the security manager's method for this kind of image
 *  @return 0 it is; -EPERM it is not; -EIO the call failed (logged)
 *  @throw sdbusplus::exception::SdBusError  the call cannot be created
 */
int verifyBySecurityManager(sdbusplus::bus_t& bus, const char* member,
                            const std::string& imagePath);

} // namespace wexa::core
