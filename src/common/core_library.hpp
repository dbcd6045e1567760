// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** The image-reading routines of the platform's core library, libwexacore,
 *  which comes without a header. All take the path of an image file,
 *  terminated; none of them keeps or changes it.
 */
namespace wexa::core
{

/** @return the version of a BMC image; empty when it cannot be read */
std::string get_bmc_version_string_from_image(char* imagePath);

} // namespace wexa::core
