// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../dbus/value.hpp"

#include <cstdint>
#include <filesystem>
#include <string>

namespace bmcsim
{

/** A CPLD of the board. */
struct CpldDevice
{
    std::string component;
    std::string driver;
    /** What an image must name as its board to be for this device. */
    std::uint16_t identifier;
    /** What it runs unless it was flashed. */
    std::string firstVersion;

    std::string path() const;

    /** What it runs.
     *
     *  @param flash  the directory of the flash partitions
     */
    std::string runningVersion(const std::filesystem::path& flash) const;

    /** Whether an image file, or the signed one of a directory, is authentic
     *  and for this device.
     */
    bool accepts(const std::string& image) const;
};

/** What is known of something, by name; some come twice where a client is to
 *  meet that.
 */
using Properties = std::vector<std::pair<
    std::string, std::variant<std::string, std::uint32_t, std::uint64_t,
                              std::int32_t, std::int64_t, bool, double,
                              dbus::ObjectPath, std::vector<std::string>>>>;

/** The properties of a device: one of every type that a client of the registry
 *  must know, and some of others.
 *
 *  @param twice  whether one comes a second time, with another value
 */
Properties propertiesOf(const CpldDevice& device, bool twice);

/** How the version of an image file is told. */
enum class VersionTold
{
    normal,
    missing,
    empty,
    wrongType,
};

/** What is known of an image file.
 *
 *  @throw dbus::Error  it is no CPLD image
 */
Properties imageInfo(const std::string& image, VersionTold version);

} // namespace bmcsim
