// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

/** Adds "applyTime", when the user wants the image applied, to the result of
 *  an upload: "OnReset", "Immediate" or "OnStartUpdateRequest".
 *
 *  An apply time that is none of these is left out; one that the settings
 *  service does not tell is left out and logged. Neither fails the upload.
 *
 *  @throw sdbusplus::exception::SdBusError  the call cannot be created
 */
void addApplyTime(sdbusplus::bus_t& bus, UploadResult& result);

} // namespace wexa::core
