// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board.hpp"

#include <string>
#include <utility>
#include <vector>

namespace bmcsim
{

/** What a simulated BMC is made with. */
struct Setup
{
    ManagerKind manager = ManagerKind::systemd;

    /** As for `Board::set`, in order. */
    std::vector<std::pair<std::string, std::string>> initial;
};

/** The first process of the simulated BMC: brings it up, serves it until the
 *  other end of `lifeline` is closed, and leaves nothing behind.
 *
 *  @param lifeline  held open by whoever wants the BMC; closed by the kernel
 *                   however that one ends
 *  @param report    receives "up", or why the BMC is not
 *  @return the exit status
 */
int runContainer(const PrivateDirectory& directory, const Setup& setup,
                 int lifeline, int report);

} // namespace bmcsim
