// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbus-c++/sdbus-c++.h>

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

/** Appends the properties of a device (`a{sv}`): one of every type that a
 *  client of the registry must know, and some of others.
 *
 *  @param twice  whether one comes a second time, with another value
 */
void appendProperties(sdbus::Message& message, const CpldDevice& device,
                      bool twice);

/** How the version of an image file is told. */
enum class VersionTold
{
    normal,
    missing,
    empty,
    wrongType,
};

/** Appends what is known of an image file (`a{sv}`).
 *
 *  @throw sdbus::Error  it is no CPLD image
 */
void appendImageInfo(sdbus::Message& message, const std::string& image,
                     VersionTold version);

} // namespace bmcsim
