// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "result.hpp"

#include <chrono>
#include <functional>
#include <optional>
#include <string>

/** What a verb works on. */
struct Request
{
    std::string bus = "system";
    /** As the command line calls it: bmc, bios or cpld. */
    std::string kind;
    std::string image;
    std::string component;
    /** Where a daemon would keep uploaded images; may be empty. */
    std::string imageDirectory;
    /** The program of a daemon that the doctor looks at; may be empty. */
    std::string daemon;
    bool verbose = false;
    bool json = false;
    bool trace = false;
    bool dryRun = false;
    /** Whether `update` has the image verified before it flashes it. */
    bool verify = true;
    /** Whether `update` waits for the end of the flash. */
    bool wait = true;
    /** How long it waits. */
    std::chrono::seconds timeout{600};
    /** Shows something that has just happened, while the verb goes on. */
    std::function<void(const Result&)> tell;
    /** Warns of something that does not stop the verb, and says what to do. */
    std::function<void(const std::string& what, const std::string& hint)> warn;
    /** Shows a line that helps to understand what the verb does; only where
     *  `verbose`.
     */
    std::function<void(const std::string&)> remark;
    /** The signal that asked the tool to end, if one came. */
    std::function<std::optional<int>()> interruption;
};

/** Does what was asked for.
 *
 *  @throw Failure  it could not; with the reason
 */
using Verb = Result (*)(const Request&);

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

/** Checks that the board has all that the library needs. Makes no call that
 *  changes anything, and calls no operation of the library.
 *
 *  @throw Failure  something is missing; with all that was found
 */
Result examineBoard(const Request& request);
