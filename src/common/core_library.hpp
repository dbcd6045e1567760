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

/** Version and build date of a BIOS image, terminated, into buffers of the
 *  given sizes in bytes.
 *
 *  @return 0; anything else when they cannot be read
 */
int get_bios_version_from_image(char* imagePath, char* versionOut,
                                int versionSize, char* dateOut, int dateSize);

/** @return a capsule's kind, 1 to 3; anything else is no capsule */
int check_bios_seamless_capsule(char* imagePath);

/** Version of a capsule of the given kind, as of a BIOS image. */
int get_capsule_version_from_image(char* imagePath, char* versionOut,
                                   int versionSize, int capsuleKind);

/** @return a BIOS image's board identifier; a value outside 0 to 65535 when
 *          it cannot be read
 */
int get_bios_board_id(char* imagePath);

} // namespace wexa::core
