// SPDX-License-Identifier: Apache-2.0
#pragma once

/** How wexa-fwmgr ends; documented in README.md. */
enum class ExitStatus
{
    success = 0,
    /** Nothing that should ever happen. */
    unexpected = 1,
    /** An option, an argument or an image path that cannot be used. */
    wrongUsage = 2,
    /** The image is not one, or not authentic. */
    imageRefused = 3,
    /** The bus or a service on it could not be asked. */
    callFailed = 4,
    /** The flash was started and did not succeed. */
    flashFailed = 5,
    /** systemd ended the job without running the flash. */
    flashNotRun = 6,
    /** The flash did not end in time; it may still run. */
    timeOut = 7,
};
