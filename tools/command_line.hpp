// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/verbs.hpp"

#include <optional>
#include <string>

/** What the command line asks for. */
struct Command
{
    std::string verb;
    Request request;
    Verb carryOut = nullptr;
};

/** Whether JSON is asked for, even where the rest cannot be understood. */
bool asksForJson(int argc, char** argv);

/** Reads the command line.
 *
 *  @return nothing where help was asked for, and printed
 *  @throw Failure  it cannot be understood
 */
std::optional<Command> parse(int argc, char** argv);
