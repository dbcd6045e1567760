// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/cpld_registry.hpp"
#include "findings.hpp"

#include <sdbusplus/bus.hpp>

#include <set>
#include <string>

/** Kinds of firmware, as the command line calls them. */
using Kinds = std::set<std::string>;

/** The core library, its routines, and the library itself. */
void checkLibraries(Findings& findings, const Kinds& kinds);

/** Whether a daemon finds in the library what it was built to use.
 *
 *  @param program  path of the daemon, or of a library of it
 */
void checkDaemon(Findings& findings, const std::string& program);

/** The services that judge images and keep what is known of them. */
void checkSecurityManager(Findings& findings, sdbusplus::bus_t& bus,
                          const Kinds& kinds);
void checkFirmwareInformation(Findings& findings, sdbusplus::bus_t& bus,
                              const Kinds& kinds);
void checkHost(Findings& findings, sdbusplus::bus_t& bus);
void checkSettings(Findings& findings, sdbusplus::bus_t& bus);

/** The CPLD update manager, its registry and the objects of its devices.
 *
 *  @return the components of the registry
 */
cpld::Registry checkCplds(Findings& findings, sdbusplus::bus_t& bus);

/** systemd, and whether the flash units are installed and honest: that a job
 *  which systemd calls done has flashed the image.
 *
 *  @param systemctl  the command that reaches this systemd
 */
void checkFlashUnits(Findings& findings, sdbusplus::bus_t& bus,
                     const Kinds& kinds, const std::string& systemctl);

/** Whether something is being flashed. */
void checkRunningFlashes(Findings& findings, sdbusplus::bus_t& bus,
                         const Kinds& kinds);

/** Which paths images may have.
 *
 *  @param directory  where images are kept; may be empty
 */
void checkImagePaths(Findings& findings, const Kinds& kinds,
                     const cpld::Registry& components,
                     const std::string& directory);
