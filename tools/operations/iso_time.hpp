// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

/** A time as ISO 8601 has it, local.
 *
 *  @param time  since 1970
 */
std::string isoTime(std::chrono::seconds time);
