// SPDX-License-Identifier: Apache-2.0
#include <xyz/openbmc_project/Software/Version/server.hpp>

#include <array>
#include <stdexcept>

namespace sdbusplus::xyz::openbmc_project::Software::server
{

std::string Version::convertVersionPurposeToString(VersionPurpose purpose)
{
    constexpr std::array names{"Unknown", "Other", "System",
                               "BMC",     "Host",  "PSU"};
    const auto number = static_cast<int>(purpose);
    if (number < 0 || static_cast<std::size_t>(number) >= names.size())
    {
        throw std::invalid_argument(std::to_string(number));
    }
    return std::string("xyz.openbmc_project.Software.Version.VersionPurpose.") +
           names[static_cast<std::size_t>(number)];
}

} // namespace sdbusplus::xyz::openbmc_project::Software::server
