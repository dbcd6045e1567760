// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of phosphor-dbus-interfaces, for a machine that is no BMC.
#pragma once

#include <string>

namespace sdbusplus
{
namespace xyz
{
namespace openbmc_project
{
namespace Software
{
namespace server
{

/** Names of the D-Bus interface xyz.openbmc_project.Software.Version; objects
 *  of it live on a BMC only. */
class [[gnu::visibility("default")]] Version
{
  public:
    Version() = delete;
    Version(const Version&) = delete;
    Version& operator=(const Version&) = delete;
    Version(Version&&) = delete;
    Version& operator=(Version&&) = delete;
    virtual ~Version() = default;

    /** What a firmware version is a version of. */
    enum class VersionPurpose
    {
        Unknown,
        Other,
        System,
        BMC,
        Host,
        PSU,
    };

    /** "xyz.openbmc_project.Software.Version.VersionPurpose." and the
     *  enumerator's name.
     *
     *  Throws std::invalid_argument, whose text is the number, for any other
     *  value.
     */
    static std::string convertVersionPurposeToString(VersionPurpose e);
};

/** The same, in every release: the argument finds its namespace. */
inline std::string convertForMessage(Version::VersionPurpose e)
{
    return Version::convertVersionPurposeToString(e);
}

} // namespace server
} // namespace Software
} // namespace openbmc_project
} // namespace xyz
} // namespace sdbusplus
