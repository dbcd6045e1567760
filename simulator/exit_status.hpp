// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace bmcsim::exitStatus
{

/** The simulated BMC did not do what it was told. */
constexpr int refused = 1;
constexpr int wrongUsage = 2;
/** The simulated BMC could not be brought up, or ended too early. */
constexpr int noBoard = 3;

} // namespace bmcsim::exitStatus
