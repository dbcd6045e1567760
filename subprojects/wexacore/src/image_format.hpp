// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

/** The layout of an image file: a header, the version, the build date, the
 *  payload and the SHA-256 digest of all bytes before it. Integers are
 *  little-endian.
 */
namespace image
{

enum class Kind : std::uint16_t
{
    bmc = 1,
    bios = 2,
    capsule = 3,
    cpld = 4,
};

constexpr std::string_view magic = "WEXAFWIM";
constexpr std::uint16_t format = 1;

/** Offsets in the header. */
namespace offset
{
constexpr std::size_t magic = 0;
constexpr std::size_t format = 8;
constexpr std::size_t kind = 10;
constexpr std::size_t capsuleKind = 12;
constexpr std::size_t board = 14;
constexpr std::size_t versionLength = 16;
constexpr std::size_t dateLength = 18;
constexpr std::size_t payloadLength = 24;
} // namespace offset

constexpr std::size_t headerSize = 32;
constexpr std::size_t digestSize = 32;

constexpr std::uint16_t capsuleKinds = 3;
constexpr std::uint16_t maxVersion = 255;
constexpr std::uint16_t maxDate = 63;
constexpr std::uint64_t maxPayload = 256ULL << 20;

/** Whether a version or a date may hold these bytes. */
constexpr bool isPrintable(std::string_view text)
{
    return std::ranges::all_of(text,
                               [](char c) { return c >= ' ' && c <= '~'; });
}

} // namespace image
