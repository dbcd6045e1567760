// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <xyz/openbmc_project/Software/Version/server.hpp>

#include <stdexcept>

using sdbusplus::xyz::openbmc_project::Software::server::Version;
using Purpose = Version::VersionPurpose;

namespace
{

const std::string prefix =
    "xyz.openbmc_project.Software.Version.VersionPurpose.";

TEST(VersionPurpose, IsNumberedAsPublished)
{
    EXPECT_EQ(static_cast<int>(Purpose::Unknown), 0);
    EXPECT_EQ(static_cast<int>(Purpose::Other), 1);
    EXPECT_EQ(static_cast<int>(Purpose::System), 2);
    EXPECT_EQ(static_cast<int>(Purpose::BMC), 3);
    EXPECT_EQ(static_cast<int>(Purpose::Host), 4);
    EXPECT_EQ(static_cast<int>(Purpose::PSU), 5);
}

TEST(VersionPurpose, HasAQualifiedNameForEachEnumerator)
{
    const auto name = Version::convertVersionPurposeToString;
    EXPECT_EQ(name(Purpose::Unknown), prefix + "Unknown");
    EXPECT_EQ(name(Purpose::Other), prefix + "Other");
    EXPECT_EQ(name(Purpose::System), prefix + "System");
    EXPECT_EQ(name(Purpose::BMC), prefix + "BMC");
    EXPECT_EQ(name(Purpose::Host), prefix + "Host");
    EXPECT_EQ(name(Purpose::PSU), prefix + "PSU");
}

TEST(VersionPurpose, ThrowsTheNumberOfWhatIsNoEnumerator)
{
    for (const auto number : {-1, 6, 1000})
    {
        try
        {
            Version::convertVersionPurposeToString(
                static_cast<Purpose>(number));
            FAIL() << number;
        }
        catch (const std::invalid_argument& thrown)
        {
            EXPECT_EQ(thrown.what(), std::to_string(number));
        }
    }
}

} // namespace
