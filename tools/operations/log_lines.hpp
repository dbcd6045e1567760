// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/** What a line of the library's log says about the operation. */
enum class Meaning
{
    /** All went well but that the version was not recorded as staged. */
    notRecorded,
    /** The image, or what was asked for, was refused. */
    refusal,
    /** A service could not be asked. */
    failedCall,
    /** Something is not known that the operation can do without. */
    note,
    /** The operation ended for a reason that another line gives. */
    consequence,
};

struct LogLine
{
    /** How lines of this sort begin. */
    const char* beginning;
    Meaning meaning;
    /** The step of the operation that wrote it. */
    const char* step;
    /** What to do; of a failed call, where its error is one of the service's
     *  own. May be empty then.
     */
    const char* hint;
};

/** What a line means; null for one that is not about a failure. */
const LogLine* explanationOf(const std::string& line);
