// SPDX-License-Identifier: Apache-2.0
#include <xyz/openbmc_project/Software/Version/server.hpp>

#include <stdexcept>
#include <string>

namespace sdbusplus::xyz::openbmc_project::Software::server
{

namespace
{

std::string nameOf(Version::VersionPurpose purpose)
{
    switch (purpose)
    {
        case Version::VersionPurpose::Unknown:
            return "Unknown";
        case Version::VersionPurpose::Other:
            return "Other";
        case Version::VersionPurpose::System:
            return "System";
        case Version::VersionPurpose::BMC:
            return "BMC";
        case Version::VersionPurpose::Host:
            return "Host";
        case Version::VersionPurpose::PSU:
            return "PSU";
    }
    throw std::invalid_argument(std::to_string(static_cast<int>(purpose)));
}

} // namespace

std::string Version::convertVersionPurposeToString(VersionPurpose e)
{
    return "xyz.openbmc_project.Software.Version.VersionPurpose." + nameOf(e);
}

} // namespace sdbusplus::xyz::openbmc_project::Software::server
