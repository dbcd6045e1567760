// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "flash_settings.hpp"
#include "private_directory.hpp"

#include <string>
#include <vector>

namespace bmcsim
{

/** The names of the flash unit templates, with their suffix. */
const std::vector<std::string>& flashTemplates();

/** The unit template that a unit is an instance of, and the instance; both
 *  empty for a unit without a template.
 */
struct UnitName
{
    explicit UnitName(const std::string& unit);

    std::string unitTemplate;
    std::string instance;
};

/** Writes the units of the simulated BMC for systemd.
 *
 *  They are honest: oneshot, so that a job ends when the flash has ended; no
 *  condition, whose failure systemd would report as done; no ignored failure.
 */
void writeUnits(const PrivateDirectory& directory,
                const FlashSettings& settings);

/** Makes the flash templates unusable: masked, or missing. */
void maskTemplates(const PrivateDirectory& directory);
void removeTemplates(const PrivateDirectory& directory);

} // namespace bmcsim
