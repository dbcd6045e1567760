// SPDX-License-Identifier: Apache-2.0
#include "../../simulator/flash_job.hpp"

#include <gtest/gtest.h>

#include <stdexcept>

using bmcsim::FlashJob;

namespace
{

std::string refusal(const std::string& instance)
{
    try
    {
        FlashJob::from(instance);
    }
    catch (const std::invalid_argument& error)
    {
        return error.what();
    }
    return "accepted";
}

TEST(FlashJob, NamesThePartitionAndTheImage)
{
    const auto job = FlashJob::from("bmc_rot2 update /tmp/images/a b");
    EXPECT_EQ(job.partition, "bmc");
    EXPECT_EQ(job.imagePath, "/tmp/images/a b");

    EXPECT_EQ(FlashJob::from("bios_rot2 update /tmp/a").partition, "bios");
}

TEST(FlashJob, NamesAPartitionForEachCpldComponent)
{
    const auto job = FlashJob::from("cpld_rot2 update MB_CPLD /tmp/a");
    EXPECT_EQ(job.partition, "cpld-MB_CPLD");
    EXPECT_EQ(job.imagePath, "/tmp/a");
}

TEST(FlashJob, RefusesWhatItDoesNotKnow)
{
    EXPECT_EQ(refusal(""), "the instance ends too early");
    EXPECT_EQ(refusal("bmc_rot2 update"), "the instance ends too early");
    EXPECT_EQ(refusal("psu update /a"), "unknown device 'psu'");
    EXPECT_EQ(refusal("bmc_rot2 erase /a"), "unknown action 'erase'");
    EXPECT_EQ(refusal("bmc_rot2 update a"), "'a' is no absolute path");
    EXPECT_EQ(refusal("cpld_rot2 update /a"), "the instance ends too early");
    EXPECT_EQ(refusal("cpld_rot2 update  /a"), "'' is no component name");
    EXPECT_EQ(refusal("cpld_rot2 update ../x /a"),
              "'../x' is no component name");
}

} // namespace
