// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/verbs.hpp"
#include "library.hpp"

#include <sdbusplus/bus.hpp>

/** Has the security manager, or the CPLD itself, judge an image.
 *
 *  @throw Failure  imageRefused: it says no; callFailed: it could not be asked
 */
void requireAuthentic(sdbusplus::bus_t& bus, const FirmwareKind& kind,
                      const Target& target, bool verbose);
