// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "failure.hpp"

#include <string>

/** The system has too little left: files that may be open, or memory. What
 *  fails for that says nothing about an image, a path or a service.
 */
namespace shortage
{

/** Whether an errno means such a shortage. */
bool isOne(int error);

/** @param subject  what could not be done or used
 *  @param error    an errno that means a shortage
 */
Failure failure(const std::string& subject, int error);

/** Makes sure that a verb, and the libraries that it loads and calls, can have
 *  what they need: a library does not tell why it could not read an image.
 *
 *  @throw Failure  they cannot
 */
void requireNone();

} // namespace shortage
