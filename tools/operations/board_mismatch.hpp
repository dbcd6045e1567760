// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>

#include <string>

/** Which boards an image and the host are of, for someone whose image was
 *  refused for that; what cannot be learnt is said so.
 */
std::string boardsInWords(sdbusplus::bus::bus& bus, std::string image);
