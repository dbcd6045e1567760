// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "descriptor.hpp"

#include <string>
#include <vector>

namespace bmcsim
{

/** Opens a directory to empty it, whatever its mode was.
 *
 *  @param directory  opened by O_PATH
 */
Descriptor openToEmpty(const Descriptor& directory);

/** Removes what a directory holds, except the entries `kept`.
 *
 *  It follows no symbolic link, and enters no other mount: what is
 *  mounted below the directory stays as it is.
 *
 *  @return whether nothing but `kept` is left
 */
bool removeContents(int directory, const std::vector<std::string>& kept = {});

} // namespace bmcsim
