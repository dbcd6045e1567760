// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/images.hpp"
#include "../support/private_bus.hpp"
#include "../support/simulation.hpp"
#include "flash_unit.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <gtest/gtest.h>
#include <sdbusplus/bus/match.hpp>

// What the documents say of a flash unit's own word, on systemd.

using namespace test;
using wexa::core::FWManagerInternal;
using wexa::core::VersionPurpose;

namespace
{

constexpr auto bmcDevice = "obmc-flash-bmc-rot2@bmc_rot2";
constexpr auto cpldDevice = "obmc-flash-bmc-rot2@cpld_rot2";

class Flashed : public testing::Test
{
  protected:
    int launch(const std::string& image)
    {
        return library.UpdateBMC(image, VersionPurpose::BMC, "");
    }

    /** Launches, and asks the unit when its job is done. */
    bool flash(const std::string& image)
    {
        FlashUnit unit(bus, bmcDevice, image);
        EXPECT_FALSE(unit.hasFlashed());
        EXPECT_EQ(launch(image), 0);
        awaitEnd(unit);
        return unit.hasFlashed();
    }

    static void awaitEnd(FlashUnit& unit)
    {
        awaitTrue("the end of the flash", [&] { return !unit.isBusy(); });
    }

    Simulation bmc;
    Images images;
    Connection connection = connectTo(bmc.busAddress());
    sdbusplus::bus_t bus{connection.get()};
    FWManagerInternal library{bus};
};

TEST_F(Flashed, IsAnHonestUnitThatSucceeded)
{
    const auto image = images.bmc("1");
    EXPECT_TRUE(flash(image));
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(Flashed, IsNoUnitThatFailed)
{
    for (const auto* const failure : {"fail", "corrupt", "crash"})
    {
        bmc.set("flash", failure);
        EXPECT_FALSE(flash(images.bmc("1"))) << failure;
    }
}

TEST_F(Flashed, IsNoUnitWhoseJobIsDoneWithoutAFlash)
{
    bmc.set("flash", "fail");
    for (const auto* const unit : {"condition", "ignored-failure", "simple"})
    {
        bmc.set("flash-unit", unit);
        EXPECT_FALSE(flash(images.bmc("1"))) << unit;
    }
}

TEST_F(Flashed, IsNoUnitThatRanBeforeItWasHeld)
{
    const auto image = images.bmc("1");
    FlashUnit first(bus, bmcDevice, image);
    ASSERT_EQ(launch(image), 0);
    awaitEnd(first);
    EXPECT_TRUE(first.hasFlashed());
    EXPECT_FALSE(FlashUnit(bus, bmcDevice, image).hasFlashed());
}

TEST_F(Flashed, IsACpldThoughItsLaunchReturnsMinusFive)
{
    const auto image = images.make(
        "cpld", {"--kind", "cpld", "--version", "1", "--board", "1"});
    FlashUnit unit(bus, cpldDevice, "MB_CPLD\\x20" + image);
    EXPECT_EQ(library.UpdateCPLD(image, VersionPurpose::Other, "MB_CPLD"), -5);
    awaitEnd(unit);
    EXPECT_TRUE(unit.hasFlashed());
    EXPECT_TRUE(bmc.flash("cpld-MB_CPLD") == bytesOf(image));
}

TEST_F(Flashed, WaitsForAnyImageOfTheSameDevice)
{
    bmc.set("flash", "hang");
    ASSERT_EQ(launch(images.bmc("1")), 0);
    EXPECT_TRUE(FlashUnit(bus, bmcDevice, "/run/other").isBusy());
    EXPECT_FALSE(FlashUnit(bus, cpldDevice, "MB_CPLD\\x20/run/other").isBusy());
}

TEST_F(Flashed, IsOneImageAtATimeWhereTheUnitHasALock)
{
    auto unit =
        bytesOf(bmc.directory() + "/units/obmc-flash-bmc-rot2@.service");
    const std::string command = "ExecStart=";
    unit.insert(unit.find(command) + command.size(),
                "/usr/bin/flock --nonblock " + bmc.directory() +
                    "/flash.lock ");
    bmc.replaceFlashUnit(unit);
    bmc.set("flash", "hang");
    ASSERT_EQ(launch(images.bmc("1")), 0);
    bmc.awaitFlash("bmc");

    int outcome = 0;
    const sdbusplus::bus::match_t jobs(bus, "type='signal',member='JobRemoved'",
                                       [&](sdbusplus::message_t& job) {
                                           outcome =
                                               library.onBMCStateChange(job);
                                       });
    ASSERT_EQ(launch(images.make("other", {"--kind", "bmc", "--version", "2"})),
              0);
    processUntil(connection.get(), [&] { return outcome != 0; });
    EXPECT_EQ(outcome, 2);
    EXPECT_TRUE(FlashUnit(bus, bmcDevice, "/run/other").isBusy());
}

} // namespace
