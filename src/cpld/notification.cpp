// SPDX-License-Identifier: Apache-2.0
#include "../common/log.hpp"
#include "names.hpp"

#include <wexa/core/fwmanager_internal.hpp>

namespace wexa::core
{

std::string FWManagerInternal::getCpldNotifiedRulesPattern()
{
    return "type='signal',path='" + cpldUpdateMgrPath + "',";
}

int FWManagerInternal::onCPLDNotifiedSignal(std::string)
{
    log::progress("int wexa::core::FWManagerInternal::onCPLDNotifiedSignal("
                  "std::string)\n");
    return 0;
}

} // namespace wexa::core
