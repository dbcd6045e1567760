// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

/** Adds "applyTime", when the user wants the image applied, to the result of
 *  an upload: "OnReset", "Immediate" or "OnStartUpdateRequest".
 *
 *  Another apply time is left out. One that the settings service does not
 *  tell is left out and logged. Neither fails the upload.
 *
 *  @throw sdbusplus::exception::SdBusError  the call cannot be created
 */
void addApplyTime(sdbusplus::bus_t& bus, UploadResult& result);

} // namespace wexa::core
