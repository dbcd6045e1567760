// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/verbs.hpp"

#include <sdbusplus/bus.hpp>

/** Makes sure that the component of a request is there, where the kind of
 *  firmware has components.
 *
 *  @throw Failure  wrongUsage: it is not bound; says which ones are.
 *                  callFailed: the registry cannot be read, or tells no path
 *                  of its object that can be called
 */
void requireComponent(sdbusplus::bus_t& bus, const Request& request);
