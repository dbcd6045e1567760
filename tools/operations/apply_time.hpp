// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "library_log.hpp"

#include <sdbusplus/bus.hpp>

#include <string>

/** Why the upload of a BIOS image told no apply time, in words.
 *
 *  @param log  of the upload
 */
std::string whyNoApplyTime(sdbusplus::bus_t& bus, const LibraryLog& log);
