// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "exit_status.hpp"

#include <stdexcept>
#include <string>

/** Why a verb did not do what was asked: one line, and how to end. */
class Failure : public std::runtime_error
{
  public:
    Failure(ExitStatus status, const std::string& line) :
        std::runtime_error(line), status(status)
    {}

    const ExitStatus status;
};
