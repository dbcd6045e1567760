// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>

#include <string>
#include <vector>

/** The flash units that run, or are about to.
 *
 *  @param beginning  of the names of the units that are asked for
 *  @throw sdbusplus::exception_t  systemd does not tell
 */
std::vector<std::string> activeFlashes(sdbusplus::bus_t& bus,
                                       const std::string& beginning);
