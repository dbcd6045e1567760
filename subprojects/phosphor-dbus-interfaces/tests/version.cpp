// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <xyz/openbmc_project/Software/Version/server.hpp>

#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace
{

using sdbusplus::xyz::openbmc_project::Software::server::Version;
using Purpose = Version::VersionPurpose;

std::string nameOf(Purpose purpose)
{
    return Version::convertVersionPurposeToString(purpose);
}

std::string complaintAbout(int number)
{
    try
    {
        return "no complaint, but " + nameOf(static_cast<Purpose>(number));
    }
    catch (const std::invalid_argument& refused)
    {
        return refused.what();
    }
}

TEST(VersionPurpose, HasTheFullNameOfItsEnumerator)
{
    const std::string prefix =
        "xyz.openbmc_project.Software.Version.VersionPurpose.";
    EXPECT_EQ(nameOf(Purpose::Unknown), prefix + "Unknown");
    EXPECT_EQ(nameOf(Purpose::Other), prefix + "Other");
    EXPECT_EQ(nameOf(Purpose::System), prefix + "System");
    EXPECT_EQ(nameOf(Purpose::BMC), prefix + "BMC");
    EXPECT_EQ(nameOf(Purpose::Host), prefix + "Host");
    EXPECT_EQ(nameOf(Purpose::PSU), prefix + "PSU");
}

TEST(VersionPurpose, HasTheNumbersOfThePublishedInterface)
{
    EXPECT_EQ(static_cast<int>(Purpose::Unknown), 0);
    EXPECT_EQ(static_cast<int>(Purpose::Other), 1);
    EXPECT_EQ(static_cast<int>(Purpose::System), 2);
    EXPECT_EQ(static_cast<int>(Purpose::BMC), 3);
    EXPECT_EQ(static_cast<int>(Purpose::Host), 4);
    EXPECT_EQ(static_cast<int>(Purpose::PSU), 5);
}

TEST(VersionPurpose, RefusesANumberOutsideTheEnumerationByTheNumber)
{
    EXPECT_EQ(complaintAbout(6), "6");
    EXPECT_EQ(complaintAbout(-1), "-1");
    EXPECT_EQ(complaintAbout(std::numeric_limits<int>::max()), "2147483647");
    EXPECT_EQ(complaintAbout(std::numeric_limits<int>::min()), "-2147483648");
}

TEST(Version, CannotBeMadeOnADesk)
{
    EXPECT_FALSE(std::is_default_constructible_v<Version>);
    EXPECT_FALSE(std::is_copy_constructible_v<Version>);
    EXPECT_TRUE(std::has_virtual_destructor_v<Version>);
}

} // namespace
