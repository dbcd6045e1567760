// SPDX-License-Identifier: Apache-2.0
#include "../support/cpld_manager.hpp"
#include "platform.hpp"
#include "site_words.hpp"

// Replies of any size that a bus carries are taken whole.

using namespace test;

namespace
{

constexpr auto many = 10'000;

/** Components MB, with a property of a mebibyte, and MB0 to MB9999, whose
 *  devices have no path to be asked at.
 */
Reply manyDevices()
{
    std::vector<cpld_manager::Device> devices{
        {"MB", cpldDevice, "jtag", {cpld_manager::text("note", mebibyte)}}};
    for (int number = 0; number < many; ++number)
    {
        devices.push_back({"MB" + std::to_string(number), "", "jtag", {}});
    }
    return cpld_manager::registry(std::move(devices));
}

class LargeReply : public Platform
{};

TEST_F(LargeReply, NamesTheDeviceOfAnImage)
{
    const auto& site = siteNamed("DescribeCpldImageAskingForTheDevices");
    startAnswering(site, manyDevices());

    EXPECT_EQ(run(site), site.success.result);
    EXPECT_EQ(events(), Events{"call: bindedDevices"} + site.success.events);
}

TEST_F(LargeReply, NamesTheDeviceThatVerifies)
{
    const auto& site = siteNamed("VerifyCpldAskingForTheDevices");
    startAnswering(site, manyDevices());

    EXPECT_EQ(run(site), site.success.result);
    EXPECT_EQ(events(), site.before + Events{"call: bindedDevices"} +
                            site.success.events);
}

TEST_F(LargeReply, ListsEveryDevice)
{
    startAnswering(siteNamed("DiscoverCplds"), manyDevices());

    const auto found = manager.getAvailableCpldCompsInfo();

    EXPECT_EQ(found.size(), many + 1U);
    const wexa::core::CpldComponentInfo first{"7", {{"note", mebibyte}}};
    EXPECT_EQ(found.at("MB"), first);
    const wexa::core::CpldComponentInfo last{"", {}};
    EXPECT_EQ(found.at("MB9999"), last);
    EXPECT_EQ(events().size(), 2U + 2 * (many + 1));
    EXPECT_EQ(sent(),
              (Events{cpld_manager::registryCall(),
                      cpld_manager::call(cpldDevice, "readMBVersionString")}));
}

TEST_F(LargeReply, IsARunningVersion)
{
    const auto& site = siteNamed("RunningCpldVersion");
    startAnswering(site, reply::text(mebibyte));

    EXPECT_EQ(manager.getCPLDVersionString(cpldDevice), mebibyte);
    EXPECT_EQ(events(), Events{"call: readMBVersionString"});
}

} // namespace
