// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/verbs.hpp"

/** Reads an image's version, has the image verified, records it as staged. */
Result upload(const Request& request);

/** Has the security manager, or the CPLD itself, judge an image. */
Result verify(const Request& request);

/** Flashes an image and waits for the end. */
Result update(const Request& request);

/** Lists the CPLD components. */
Result listComponents(const Request& request);

/** Tells of finished flash jobs and CPLD notifications until it is stopped. */
Result monitor(const Request& request);
