// SPDX-License-Identifier: Apache-2.0
#include "behaviour.hpp"

#include "choice.hpp"

#include <algorithm>
#include <array>
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
    std::pair{Behaviour::slow, "slow"},
};

Behaviour behaviourNamed(const std::string& name)
{
    std::vector<std::string> known;
    known.reserve(names.size());
    for (const auto& entry : names)
    {
        known.emplace_back(entry.second);
    }
    chosenFrom(known, name, "behaviour");
    return std::ranges::find(names, name,
                             [](const auto& entry) { return entry.second; })
        ->first;
}

std::string nameOf(Behaviour behaviour)
{
    return std::ranges::find(names, behaviour,
                             [](const auto& entry) { return entry.first; })
        ->second;
}

} // namespace bmcsim
