// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image_format.hpp"

#include <cstdint>
#include <string>

namespace image
{

/** All that an image holds but its digest. */
struct Contents
{
    Kind kind = Kind::bmc;
    std::uint16_t capsuleKind = 0;
    std::uint16_t board = 0;
    std::string version;
    std::string date;
    std::string payload;
};

/** The bytes of an image, digest included. */
std::string bytes(const Contents& contents);

/** The ways in which an image can be broken on purpose. */
enum class Fault
{
    empty,
    headerOnly,
    truncated,
    trailing,
    magic,
    unknownKind,
    noVersion,
    unprintableVersion,
    versionLength,
    payloadLength,
    digest,
};

/** Breaks the bytes of an image. Where its header stays readable the digest
 *  is right for what the file holds, except for `Fault::digest`.
 */
std::string broken(std::string image, Fault fault);

/** The digest at the end of an image, in hexadecimal. */
std::string digestText(const std::string& image);

} // namespace image
