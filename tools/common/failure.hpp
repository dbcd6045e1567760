// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "exit_status.hpp"
#include "result.hpp"

#include <stdexcept>
#include <string>
#include <vector>

/** What is known of a failure besides what failed; empty where it is not. */
struct Reason
{
    /** Which step of the operation said no, or could not be done. */
    std::string step;
    /** What the library logged, line by line. */
    std::vector<std::string> library;
    /** The name of the D-Bus error. */
    std::string dbusError;
    /** What to do about it. */
    std::string hint;
    /** The command lines of the flash unit. */
    std::vector<std::string> commands = {};
    /** What it logged last, line by line. */
    std::vector<std::string> log = {};
    /** Why that is not known; empty where it is. */
    std::string logUnknown = {};
};

/** Why a verb did not do what was asked, and how to end. */
class Failure : public std::runtime_error
{
  public:
    /** @param what   what could not be done, on one line
     *  @param found  what the verb shows in spite of it
     */
    Failure(ExitStatus status, const std::string& what, Reason reason,
            Result found = {}) :
        std::runtime_error(what), status(status), reason(std::move(reason)),
        found(std::move(found))
    {}

    Failure(ExitStatus status, const std::string& what, const std::string& hint,
            Result found = {}) :
        Failure(status, what, Reason{{}, {}, {}, hint}, std::move(found))
    {}

    const ExitStatus status;
    const Reason reason;
    Result found;
};
