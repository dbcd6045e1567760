// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>

#include <string>

/** Connects to a bus.
 *
 *  @param address  a D-Bus address, or "system" for the system bus
 *  @throw Failure  it cannot be reached
 */
sdbusplus::bus_t connectTo(const std::string& address);
