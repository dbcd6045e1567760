// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/verbs.hpp"

/** The verbs that need the library.
 *
 *  They live in a module that is loaded when one of them is asked for, so
 *  that the tool can say what is missing where the library, or something that
 *  it is linked with, is not there.
 */
struct Operations
{
    Verb upload;
    Verb verify;
    Verb update;
    Verb listComponents;
    Verb monitor;
};

/** The name of the module's file, and of its one symbol. */
constexpr auto operationsModule = "wexa-fwmgr-operations.so";
constexpr auto operationsSymbol = "wexaFwmgrOperations";

extern "C" const Operations* wexaFwmgrOperations();
