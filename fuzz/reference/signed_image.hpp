// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace fuzz
{

/** The file that the device of a CPLD is asked about: `path`, or of a
 *  directory the first entry whose whole path holds "image_cpld_signed".
 *
 *  @return nothing where there is no such path
 *  @throw std::filesystem::filesystem_error  it cannot be examined
 */
std::optional<std::string> signedImage(const std::string& path);

} // namespace fuzz
