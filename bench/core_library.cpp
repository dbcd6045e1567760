// SPDX-License-Identifier: Apache-2.0
#include "../src/common/core_library.hpp"

#include <cstdio>

// Stands before libwexacore: answers at once, so that what is measured is the
// library and its calls, not the reading of an image. A path that ends in
// "capsule" is a capsule.

namespace wexa::core
{

std::string get_bmc_version_string_from_image(char*)
{
    return "2.14.0";
}

int get_bios_version_from_image(char*, char* version, int versionSize,
                                char* date, int dateSize)
{
    std::snprintf(version, static_cast<std::size_t>(versionSize), "1.20");
    std::snprintf(date, static_cast<std::size_t>(dateSize), "03/15/2024");
    return 0;
}

int check_bios_seamless_capsule(char* imagePath)
{
    return std::string(imagePath).ends_with("capsule") ? 1 : 0;
}

int get_capsule_version_from_image(char*, char* version, int versionSize, int)
{
    std::snprintf(version, static_cast<std::size_t>(versionSize), "1.20");
    return 0;
}

int get_bios_board_id(char*)
{
    return 1;
}

} // namespace wexa::core
