// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "operations/operations.hpp"

/** Loads the verbs that need the library.
 *
 *  @throw Failure  the library, or what it is linked with, is missing
 */
const Operations& loadOperations();
