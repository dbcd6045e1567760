// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "flash_unit.hpp"

#include <string>

/** Throws unless a flash is done beyond doubt.
 *
 *  systemd calls a job done, too, when a condition kept the unit from
 *  running, when a failing command was to be ignored, or when a program that
 *  is not waited for was merely forked. So the unit must say so as well.
 *
 *  @param jobResult  systemd's word for the end of the job
 *  @param recognisedAsDone  whether the library took it for done
 *  @throw Failure  the flash failed or was not run; with the reason
 */
void requireFlashed(const std::string& unit, const std::string& jobResult,
                    bool recognisedAsDone, const UnitOutcome& outcome);
