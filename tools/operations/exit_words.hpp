// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** How a process ended, as systemd says it: "exit status 1/FAILURE",
 *  "exit status 203/EXEC", "signal 9/SIGKILL".
 *
 *  @param code    CLD_EXITED, CLD_KILLED or CLD_DUMPED
 *  @param status  the exit status, or the number of the signal
 */
std::string exitWords(int code, int status);

/** The exit status with which systemd says that it could not execute a
 *  program: 203/EXEC.
 */
constexpr int couldNotExecute = 203;
