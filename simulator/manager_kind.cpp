// SPDX-License-Identifier: Apache-2.0
#include "manager_kind.hpp"

#include "complaint.hpp"

namespace bmcsim
{

ManagerKind withoutSystemd(ManagerKind wanted, const NoSystemd& reason)
{
    const std::string why = reason.what();
    if (wanted == ManagerKind::systemd)
    {
        throw std::runtime_error(why +
                                 "; --manager builtin works without systemd");
    }
    if (wanted == ManagerKind::automatic)
    {
        // One line: systemd itself may have said more.
        complain("the built-in manager takes the place of systemd: " +
                 why.substr(0, why.find('\n')));
    }
    return ManagerKind::builtin;
}

} // namespace bmcsim
