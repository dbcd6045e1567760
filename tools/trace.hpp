// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json.hpp>

/** The D-Bus calls of this process, each with its time.
 *
 *  They are seen where every one of them passes, the library's and the tool's
 *  own: in libsystemd's `sd_bus_call`, which this program has its own
 *  function in front of.
 */
namespace trace
{

/** From now on calls are remembered.
 *
 *  @param show  whether they are shown on standard error, too, as they begin
 *               and end
 */
void begin(bool show);

/** Whether they are. */
bool isOn();

/** All since `begin`, in order. */
nlohmann::json calls();

} // namespace trace
