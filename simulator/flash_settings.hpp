// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_directory.hpp"

#include <chrono>
#include <string>

namespace bmcsim
{

/** How the flash program of the simulated BMC works; kept in a file, since
 *  systemd starts the program.
 */
struct FlashSettings
{
    /** normal, fail, corrupt, crash or hang. */
    std::string behaviour = "normal";

    /** How long writing an image takes. */
    std::chrono::milliseconds time{300};

    /** When systemd gives a flash up. */
    std::chrono::milliseconds timeout{90000};

    /** How honest the flash units are: honest, condition, ignored-failure,
     *  simple or no-timeout.
     */
    std::string unit = "honest";

    static FlashSettings read(const PrivateDirectory& directory);
    void write(const PrivateDirectory& directory) const;

    /** @throw std::invalid_argument  names the possible values */
    void setBehaviour(const std::string& name);
    void setUnit(const std::string& name);
};

/** @throw std::invalid_argument  no number of 1 to 3600000 milliseconds */
std::chrono::milliseconds millisecondsFrom(const std::string& text);

} // namespace bmcsim
