// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/verbs.hpp"
#include "operations/operations.hpp"

#include <optional>
#include <string>

/** What the command line asks for. */
struct Command
{
    std::string verb;
    Request request;
    bool trace = false;
    /** One of the verbs that need the library, or else the doctor. */
    Verb Operations::* operation = nullptr;
};

/** Whether JSON is asked for, even where the rest cannot be understood. */
bool asksForJson(int argc, char** argv);

/** Reads the command line.
 *
 *  @return nothing where help was asked for, and printed
 *  @throw Failure  it cannot be understood
 */
std::optional<Command> parse(int argc, char** argv);
