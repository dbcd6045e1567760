// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>

#include <string>

namespace wexa::core
{

/** Records the version of a verified image with the firmware-information
 *  service, which shows what is staged and waits to be flashed.
 *
 *  @param property  the service's property for this kind of image
 *  @return whether it was recorded; a failure was logged
 *  @throw sdbusplus::exception::SdBusError  the call cannot be created
 */
bool recordStagedVersion(sdbusplus::bus_t& bus, const char* property,
                         const std::string& version);

} // namespace wexa::core
