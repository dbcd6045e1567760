// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/verbs.hpp"

/** Looks whether the board has all that the library needs: without calling
 *  anything that changes something, and without the library itself.
 *
 *  @throw Failure  it has not; with all that was found
 */
Result examineBoard(const Request& request);
