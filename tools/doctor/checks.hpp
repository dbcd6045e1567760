// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "findings.hpp"

#include <sdbusplus/bus.hpp>

#include <set>
#include <string>
#include <vector>

/** Kinds of firmware, as the command line calls them. */
using Kinds = std::set<std::string>;

/** A bound CPLD component. */
struct Component
{
    std::string name;
    std::string objectPath;
};

/** The core library, its routines, and the library itself. */
void checkLibraries(Findings& findings, const Kinds& kinds);

/** The services that judge images and keep what is known of them. */
void checkServices(Findings& findings, sdbusplus::bus::bus& bus,
                   const Kinds& kinds);

/** The CPLD update manager, its registry and the objects of its devices.
 *
 *  @return the components of the registry
 */
std::vector<Component> checkCplds(Findings& findings, sdbusplus::bus::bus& bus);

/** systemd, and whether the flash units are installed and honest: that a job
 *  which systemd calls done has flashed the image.
 */
void checkFlashUnits(Findings& findings, sdbusplus::bus::bus& bus,
                     const Kinds& kinds);

/** Which paths images may have.
 *
 *  @param directory  where images are kept; may be empty
 */
void checkImagePaths(Findings& findings, const Kinds& kinds,
                     const std::vector<Component>& components,
                     const std::string& directory);
