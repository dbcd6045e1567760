// SPDX-License-Identifier: Apache-2.0
#include "scripted_board.hpp"

// Services that tell more, longer or deeper values than any board has.

using namespace test;

namespace
{

class LargeValues : public ScriptedBoard
{
  protected:
    void offerRegistry(const std::vector<cpld_manager::Device>& devices)
    {
        offer(cpld_manager::service,
              {cpld_manager::bindedDevices(cpld_manager::registry(devices))});
    }
};

TEST_F(LargeValues, OfARegistryAreNamedInPart)
{
    std::vector<cpld_manager::Device> devices;
    for (auto i = 100000; i < 200000; ++i)
    {
        const auto name = "CPLD" + std::to_string(i);
        devices.push_back({name, "/cpld/" + name, "jtag", {}});
    }
    offerRegistry(devices);

    // Not EXPECT_EQ, which would show all of it.
    EXPECT_TRUE(
        fwmgr({"verify", "cpld", images.bmc("1"), "--component", "CPLD"}) ==
        refusal(wrongUsage, "the board has no CPLD component 'CPLD'",
                "name one of these: CPLD100000, CPLD100001, CPLD100002, "
                "CPLD100003, CPLD100004, CPLD100005, CPLD100006, CPLD100007, "
                "CPLD100008, CPLD100009 and 99990 others, which wexa-fwmgr "
                "components lists"));
}

TEST_F(LargeValues, OfAVersionAreShownWhole)
{
    const std::string version(10'000'000, 'v');
    offerCplds({{"MB_CPLD", "/cpld", "jtag", {}}}, version);

    EXPECT_TRUE(fwmgr({"components"}) ==
                (Completed{0, "MB_CPLD  " + version + '\n', ""}));
}

TEST_F(LargeValues, OfANameDoNotWidenTheLinesOfOthers)
{
    const std::string wide(1'000'000, 'w');
    std::vector<cpld_manager::Properties> properties{
        cpld_manager::text(wide, "1")};
    std::string expected = "MB_CPLD     7\n";
    for (auto i = 1000; i < 3000; ++i)
    {
        const auto name = "name" + std::to_string(i);
        properties.push_back(cpld_manager::text(name, "2"));
        expected += "  " + name + "  2\n";
    }
    offerCplds({{"MB_CPLD", "/cpld", "jtag", properties}}, "7");

    EXPECT_TRUE(fwmgr({"components"}) ==
                (Completed{0, expected + "  " + wide + "  1\n", ""}));
}

TEST_F(LargeValues, OfVariantsInVariantsAreToldByTheirType)
{
    offerCplds(
        {{"MB_CPLD", "/cpld", "jtag", {[](sd_bus_message* message) {
              constexpr auto depth = 30;
              check(sd_bus_message_open_container(message, 'e', "sv"), "open");
              check(sd_bus_message_append(message, "s", "deep"), "name");
              for (auto i = 0; i < depth; ++i)
              {
                  check(sd_bus_message_open_container(message, 'v', "v"),
                        "open");
              }
              check(sd_bus_message_append(message, "v", "u", 1U), "value");
              for (auto i = 0; i <= depth; ++i)
              {
                  check(sd_bus_message_close_container(message), "close");
              }
          }}}},
        "7");

    const auto done = fwmgr({"components"});
    EXPECT_EQ(done.status, 0);
    EXPECT_THAT(done.out, testing::StartsWith("MB_CPLD  7\n  deep"));
    EXPECT_EQ(done.err, "");
}

} // namespace
