// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace bmcsim
{

/** Removes what a directory holds, except the entries `kept`.
 *
 *  It follows no symbolic link, and enters no other mount: what is
 *  mounted below the directory stays as it is.
 *
 *  @return whether nothing but `kept` is left
 */
bool removeContents(int directory, const std::vector<std::string>& kept = {});

} // namespace bmcsim
