// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/verbs.hpp"

#include <sdbusplus/bus.hpp>

/** Makes sure that the component of a request is there, where the kind of
 *  firmware has components.
 *
 *  @throw Failure  it is not, and which ones there are; or nobody can tell
 */
void requireComponent(sdbusplus::bus::bus& bus, const Request& request);
