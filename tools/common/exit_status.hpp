// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** How wexa-fwmgr ends; documented in README.md. */
enum class ExitStatus
{
    success = 0,
    /** What should never happen, a shortage of files or memory, or a result
     * that could not be written.
     */
    unexpected = 1,
    /** An option, an argument or an image path that cannot be used. */
    wrongUsage = 2,
    /** The image is no firmware image, is not authentic, is for another board
     *  or component, or changed before it could be flashed.
     */
    imageRefused = 3,
    /** The library, the bus or a service on it could not be asked, or a
     *  service answered in another type.
     */
    callFailed = 4,
    /** The flash was started and did not succeed, or the image changed while
     *  it was flashed.
     */
    flashFailed = 5,
    /** systemd ended the job without running the flash, or the device is
     *  being flashed already.
     */
    flashNotRun = 6,
    /** How the flash ends is not known: it did not end in time, or systemd
     *  cannot be asked. It may still run.
     */
    mayStillRun = 7,
    /** The board lacks something that the library needs. */
    notReady = 8,
    /** The unit has ended and does not tell whether the flash is done. */
    outcomeUnknown = 9,
    /** Stopped by SIGHUP, SIGINT or SIGTERM: 128 plus the signal's number, as
     *  shells report it. A flash that was started may still run.
     */
    hungUp = 129,
    interrupted = 130,
    terminated = 143,
};

/** The same as one word, for programs. */
std::string nameOf(ExitStatus status);
