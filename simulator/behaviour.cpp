// SPDX-License-Identifier: Apache-2.0
#include "behaviour.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace bmcsim
{

static constexpr std::array names{
    std::pair{Behaviour::normal, "normal"},
    std::pair{Behaviour::absent, "absent"},
    std::pair{Behaviour::refuse, "refuse"},
    std::pair{Behaviour::error, "error"},
    std::pair{Behaviour::wrongType, "wrong-type"},
    std::pair{Behaviour::silent, "silent"},
};

Behaviour behaviourNamed(const std::string& name)
{
    const auto* const found = std::ranges::find(
        names, name, [](const auto& entry) { return entry.second; });
    if (found == names.end())
    {
        throw std::invalid_argument("no behaviour '" + name +
                                    "'; there are normal, absent, refuse, "
                                    "error, wrong-type and silent");
    }
    return found->first;
}

std::string nameOf(Behaviour behaviour)
{
    return std::ranges::find(names, behaviour,
                             [](const auto& entry) { return entry.first; })
        ->second;
}

} // namespace bmcsim
