// SPDX-License-Identifier: Apache-2.0
#include "fault.hpp"

namespace test
{

std::vector<Cell> cellsOf(const std::vector<Fault>& faults)
{
    std::vector<Cell> all;
    for (const auto& fault : faults)
    {
        for (const auto& site : callSites())
        {
            if (fault.concerns(site))
            {
                all.push_back({site, fault});
            }
        }
    }
    return all;
}

void PrintTo(const Cell& cell, std::ostream* stream)
{
    *stream << cell.site.name << ' ' << cell.fault.name;
}

} // namespace test
