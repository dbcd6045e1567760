// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

/** Files that are read and written whole or not at all.
 *
 *  Failures throw `std::system_error` whose text names the file.
 */
namespace wholeFile
{

/** @param limit  the size in bytes above which the file is refused */
std::string read(const std::string& path, std::uint64_t limit);

/** Writes beside `path` first, then takes its place, so that no reader ever
 *  sees half a file and a failure leaves nothing behind.
 *
 *  @param replace  whether a file that exists may be replaced
 */
void write(const std::string& path, const std::string& bytes, bool replace);

} // namespace wholeFile
