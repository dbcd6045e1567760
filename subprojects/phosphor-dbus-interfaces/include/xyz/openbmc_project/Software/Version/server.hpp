// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace sdbusplus::xyz::openbmc_project::Software::server
{

/** The D-Bus interface xyz.openbmc_project.Software.Version; here only the
 *  names of its enumeration.
 */
class Version
{
  public:
    /** What a software version is for. */
    enum class VersionPurpose
    {
        Unknown,
        Other,
        System,
        BMC,
        Host,
        PSU,
    };

    Version() = delete;

    /** The name of an enumerator on D-Bus, qualified by its interface.
     *
     *  @throw std::invalid_argument  no enumerator; its text is the number
     */
    static std::string convertVersionPurposeToString(VersionPurpose purpose);
};

} // namespace sdbusplus::xyz::openbmc_project::Software::server
