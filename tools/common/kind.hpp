// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/** A kind of firmware, and the template of its flash units. */
struct Kind
{
    /** What the command line calls it. */
    std::string name;
    /** The names of the units up to and with the "@". */
    std::string unitPrefix;
    /** The instance up to the component, or to the path. */
    std::string unitWords;
    /** Whether images are for one component of several, and may be in a
     *  directory.
     */
    bool hasComponents;
};

const std::vector<Kind>& allKinds();

/** @param name  bmc, bios or cpld */
const Kind& kindNamed(const std::string& name);
