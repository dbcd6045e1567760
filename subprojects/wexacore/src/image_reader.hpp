// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image_format.hpp"

#include <cstdint>
#include <optional>
#include <string>

namespace image
{

/** What an image file says of itself. */
struct Header
{
    Kind kind;
    std::uint16_t capsuleKind;
    std::uint16_t board;
    std::string version;
    std::string date;
};

/** Reads the header of an untrusted file, and the texts in it.
 *
 *  The digest is not computed: the security manager does that.
 *
 *  @param path  may be null
 *  @return nothing where the file cannot be read, is no regular file, or is
 *          not, to the byte of its size, an image
 */
std::optional<Header> read(const char* path) noexcept;

} // namespace image
