// SPDX-License-Identifier: Apache-2.0
#include "../common/finished_job.hpp"
#include "../common/log.hpp"

#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

int FWManagerInternal::onBIOSStateChange(sdbusplus::message_t& msg)
{
    return finishedJobOutcome(msg, serviceFile);
}

void FWManagerInternal::onBIOSUpdateSuccess()
{
    log::progress(
        "void wexa::core::FWManagerInternal::onBIOSUpdateSuccess()\n");
}

} // namespace wexa::core
