// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace bmcsim
{

/** An image file whose digest is right. */
struct AuthenticImage
{
    std::uint16_t kind;
    std::string version;
};

/** Examines a file as a platform's security manager does: structure and
 *  SHA-256 digest.
 *
 *  @return nothing where the file is no authentic image
 */
std::optional<AuthenticImage> authenticate(const std::string& path);

/** Kinds of images, as the file format numbers them. */
namespace imageKind
{
constexpr std::uint16_t bmc = 1;
constexpr std::uint16_t bios = 2;
constexpr std::uint16_t capsule = 3;
} // namespace imageKind

} // namespace bmcsim
