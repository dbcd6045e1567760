// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/message.hpp>

#include <string>

namespace wexa::core
{

/** Logs a finished systemd job and tells whether it was a given unit's.
 *
 *  @param jobRemoved  the systemd manager's signal: job number, job path,
 *                     unit, result (`uoss`)
 *  @return 0 another unit's; 1 the unit's, with the result "done"; 2 the
 *          unit's, with any other result
 *  @throw sdbusplus::exception::SdBusError  the body is not `uoss`; nothing
 *         was logged
 */
int finishedJobOutcome(sdbusplus::message_t& jobRemoved,
                       const std::string& serviceFile);

} // namespace wexa::core
