// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace bmcsim
{

/** How a service of the simulated BMC answers. */
enum class Behaviour
{
    normal,
    absent,    /**< it has no name on the bus */
    refuse,    /**< it says no, as a platform's service would */
    error,     /**< it answers with a D-Bus error */
    wrongType, /**< it answers with a value of another type */
    silent,    /**< it never answers */
    slow,      /**< it answers as it should, late */
};

/** @throw std::invalid_argument  names the possible values */
Behaviour behaviourNamed(const std::string& name);

std::string nameOf(Behaviour behaviour);

} // namespace bmcsim
