// SPDX-License-Identifier: Apache-2.0
#include "kind.hpp"

#include <algorithm>

const std::vector<Kind>& allKinds()
{
    static const std::vector<Kind> all{
        {"bmc", "obmc-flash-bmc-rot2@", R"(bmc_rot2\x20update\x20)", false},
        {"bios", "obmc-flash-host-bios@", R"(bios_rot2\x20update\x20)", false},
        {"cpld", "obmc-flash-bmc-rot2@", R"(cpld_rot2\x20update\x20)", true},
    };
    return all;
}

const Kind& kindNamed(const std::string& name)
{
    return *std::ranges::find(allKinds(), name, &Kind::name);
}
