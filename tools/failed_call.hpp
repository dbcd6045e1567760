// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/failure.hpp"

/** What is known of the D-Bus call behind a failure, besides its reason. */
struct CallDetails
{
    /** Which call it was and what became of it; empty where there was none,
     *  and where the D-Bus error and the library's lines tell it all.
     */
    std::string call;
    /** What to do, the reason's own hint first. */
    std::string hint;
};

CallDetails detailsOf(const Reason& reason);
