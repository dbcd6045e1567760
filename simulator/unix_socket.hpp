// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

namespace bmcsim
{

/** A socket that listens at a new file.
 *
 *  @throw std::system_error  it cannot
 */
int listenAt(const std::filesystem::path& path);

/** A socket that is connected to the one at `path`; -1 where none listens.
 *
 *  @throw std::system_error  there can be no further socket
 */
int connectTo(const std::filesystem::path& path);

} // namespace bmcsim
