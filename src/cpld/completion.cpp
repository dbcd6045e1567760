// SPDX-License-Identifier: Apache-2.0
#include "../common/finished_job.hpp"

#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

int FWManagerInternal::onCPLDStateChange(sdbusplus::message_t& msg)
{
    return finishedJobOutcome(msg, serviceFile);
}

// Silent, unlike those of the other kinds: the daemon relies on it.
void FWManagerInternal::onCPLDUpdateSuccess() {}

} // namespace wexa::core
