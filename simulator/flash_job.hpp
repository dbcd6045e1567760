// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace bmcsim
{

/** What a flash unit is to do, as its unescaped instance name says it:
 *  "DEVICE update PATH", for a CPLD "cpld_rot2 update COMPONENT PATH".
 */
struct FlashJob
{
    /** The file below flash/ that stands for the flash partition. */
    std::string partition;
    std::string imagePath;

    /** @throw std::invalid_argument  the instance says something else */
    static FlashJob from(const std::string& instance);
};

} // namespace bmcsim
