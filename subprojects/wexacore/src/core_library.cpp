// SPDX-License-Identifier: Apache-2.0
#include "core_library.hpp"

#include "image_reader.hpp"

#include <algorithm>
#include <cerrno>

namespace wexa::core
{

using image::Kind;

/** Copies a text into a caller's buffer, cut to its size, terminated. */
static void copyText(const std::string& text, char* buffer, int size)
{
    const auto length =
        std::min(text.size(), static_cast<std::size_t>(size) - 1);
    std::copy_n(text.begin(), length, buffer);
    buffer[length] = '\0';
}

static bool isUsable(const char* buffer, int size)
{
    return buffer != nullptr && size > 0;
}

std::string get_bmc_version_string_from_image(char* imagePath)
{
    const auto header = image::read(imagePath);
    return header && header->kind == Kind::bmc ? header->version
                                               : std::string();
}

int get_bios_version_from_image(char* imagePath, char* versionOut,
                                int versionSize, char* dateOut, int dateSize)
{
    if (!isUsable(versionOut, versionSize) || !isUsable(dateOut, dateSize))
    {
        return -EINVAL;
    }
    const auto header = image::read(imagePath);
    if (!header || header->kind != Kind::bios)
    {
        return -EIO;
    }
    copyText(header->version, versionOut, versionSize);
    copyText(header->date, dateOut, dateSize);
    return 0;
}

int get_capsule_version_from_image(char* imagePath, char* versionOut,
                                   int versionSize, int capsuleKind)
{
    if (!isUsable(versionOut, versionSize))
    {
        return -EINVAL;
    }
    const auto header = image::read(imagePath);
    if (!header || header->kind != Kind::capsule ||
        header->capsuleKind != capsuleKind)
    {
        return -EIO;
    }
    copyText(header->version, versionOut, versionSize);
    return 0;
}

int check_bios_seamless_capsule(char* imagePath)
{
    const auto header = image::read(imagePath);
    return header ? header->capsuleKind : -EIO;
}

int get_bios_board_id(char* imagePath)
{
    const auto header = image::read(imagePath);
    return header && header->kind == Kind::bios ? header->board : -1;
}

} // namespace wexa::core
