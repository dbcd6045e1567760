// SPDX-License-Identifier: Apache-2.0
#include "offered_members.hpp"

#include "../choice.hpp"

namespace bmcsim
{

OfferedMembers::OfferedMembers(std::string name, std::vector<std::string> all) :
    setting(std::move(name)), all(std::move(all)), now(this->all)
{}

void OfferedMembers::choose(const std::string& list)
{
    now = allChosenFrom(all, list, "member");
}

std::string OfferedMembers::asText() const
{
    return joined(now);
}

} // namespace bmcsim
