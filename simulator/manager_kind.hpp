// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace bmcsim
{

/** Which manager runs the flash units. */
enum class ManagerKind
{
    /** systemd if it can be started, else the built-in one. */
    automatic,
    systemd,
    builtin,
};

/** Why there can be no real systemd. */
struct NoSystemd : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/** Goes on without systemd, and says so if `wanted` is `automatic`.
 *
 *  @return the built-in manager
 *  @throw std::runtime_error  `wanted` is `systemd`; says the reason and
 *         the way out
 */
ManagerKind withoutSystemd(ManagerKind wanted, const NoSystemd& reason);

} // namespace bmcsim
