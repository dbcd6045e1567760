// SPDX-License-Identifier: Apache-2.0
#pragma once

/** The routines of the platform's core library, which comes without a header,
 *  that tell what a file is: the library decides by the same ones.
 */
namespace wexa::core
{

/** @return a BIOS capsule's kind, 1 to 3; anything else is no capsule */
int check_bios_seamless_capsule(char* imagePath);

/** @return a BIOS image's board identifier; outside 0 to 65535 where there is
 *          none
 */
int get_bios_board_id(char* imagePath);

} // namespace wexa::core
