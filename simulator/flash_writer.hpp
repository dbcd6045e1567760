// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_directory.hpp"

#include <string>

namespace bmcsim
{

/** The flash program, which the flash units run: writes an image into the
 *  file that stands for the flash partition, in pieces over the set time,
 *  reads it back and compares.
 *
 *  @param instance  of the flash unit, unescaped
 *  @return the exit status: 0 only when the partition holds the image
 */
int writeFlash(const PrivateDirectory& directory, const std::string& instance);

} // namespace bmcsim
