// SPDX-License-Identifier: Apache-2.0
#include "../common/finished_job.hpp"
#include "../common/log.hpp"

#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

int FWManagerInternal::onBMCStateChange(sdbusplus::message_t& msg)
{
    return finishedJobOutcome(msg, serviceFile);
}

void FWManagerInternal::onBMCUpdateSuccess()
{
    log::progress("void wexa::core::FWManagerInternal::onBMCUpdateSuccess()\n");
}

} // namespace wexa::core
