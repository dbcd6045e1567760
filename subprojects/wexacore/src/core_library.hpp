// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#define WEXACORE_EXPORT __attribute__((visibility("default")))

/** The routines that a platform's core library offers to firmware updates.
 *
 *  All take the path of an image file, terminated or null. None of them
 *  writes to it, prints or throws. Texts are cut to the size of the buffer,
 *  in bytes, and terminated; on failure buffers stay as they are.
 */
namespace wexa::core
{

/** @return the version; empty where there is no readable BMC image */
WEXACORE_EXPORT std::string get_bmc_version_string_from_image(char* imagePath);

/** Version and build date of a BIOS image.
 *
 *  @return 0; -EINVAL no buffer; -EIO no readable BIOS image
 */
WEXACORE_EXPORT int get_bios_version_from_image(char* imagePath,
                                                char* versionOut,
                                                int versionSize, char* dateOut,
                                                int dateSize);

/** Version of a BIOS capsule of the given kind.
 *
 *  @return 0; -EINVAL no buffer; -EIO no readable capsule of that kind
 */
WEXACORE_EXPORT int get_capsule_version_from_image(char* imagePath,
                                                   char* versionOut,
                                                   int versionSize,
                                                   int capsuleKind);

/** @return a capsule's kind, 1 to 3; 0 for another image; -EIO if the image
 *          cannot be read
 */
WEXACORE_EXPORT int check_bios_seamless_capsule(char* imagePath);

/** @return a BIOS image's board identifier, 0 to 65535; -1 where there is no
 *          readable BIOS image
 */
WEXACORE_EXPORT int get_bios_board_id(char* imagePath);

} // namespace wexa::core
