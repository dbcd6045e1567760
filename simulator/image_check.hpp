// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace bmcsim
{

/** An image file. */
struct Image
{
    std::uint16_t kind;
    std::uint16_t board;
    std::string version;
    /** Whether its SHA-256 digest is right. */
    bool authentic;
};

/** @return nothing where the file has not the structure of an image */
std::optional<Image> examine(const std::string& path);

/** Examines a file as a platform's security manager does.
 *
 *  @return nothing where the file is no authentic image
 */
std::optional<Image> authenticate(const std::string& path);

/** The image file that a path names: in a directory the first file, by name,
 *  that is called an image_cpld_signed; else the path itself.
 */
std::string imageFileOf(const std::string& path);

/** Kinds of images, as the file format numbers them. */
namespace imageKind
{
constexpr std::uint16_t bmc = 1;
constexpr std::uint16_t bios = 2;
constexpr std::uint16_t capsule = 3;
constexpr std::uint16_t cpld = 4;
} // namespace imageKind

} // namespace bmcsim
