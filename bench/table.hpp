// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace bench
{

/** A figure; empty if it could not be measured. */
using Figure = std::optional<double>;

/** What was measured of an operation; durations are ratios to plain sd-bus. */
struct Row
{
    std::string operation;
    int calls = 0;

    /** Of plain sd-bus. */
    double microseconds = 0;

    Figure library;
    Figure libraryOf99th;
    Figure sdbusplus;
    Figure gdbus;
    Figure libdbus;
    Figure busctl;

    /** Blocks per operation. */
    Figure allocationsOfSdbusplus;
    Figure allocationsOfLibrary;
    Figure allocationsOfLog;

    /** Per operation. */
    Figure instructionsOfPlain;
    Figure instructionsOfLibrary;
};

/** On standard output, with the targets: met or missed. */
void print(const std::vector<Row>& rows);

} // namespace bench
