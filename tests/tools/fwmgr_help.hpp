// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/help_text.hpp"

namespace test
{

inline Help fwmgrHelp()
{
    return Help(fromEnvironment("WEXA_FWMGR"));
}

} // namespace test
