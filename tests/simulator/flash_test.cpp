// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "managed_flash.hpp"

#include <stdexcept>

// Flash units under either manager: what they write, and what a client is
// told of it. Both managers must say the same.

using namespace test;
using testing::ElementsAre;

namespace
{

class Flash : public ManagedFlash
{};

INSTANTIATE_TEST_SUITE_P(Managers, Flash, testing::Values("systemd", "builtin"),
                         [](const auto& row) {
                             return std::string(row.param);
                         });

TEST_P(Flash, WritesTheImageIntoThePartition)
{
    client.call("RefUnit", {unit});

    expectEnd("done");

    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
    EXPECT_EQ(unitResult(), "v s \"success\"\n");
    EXPECT_EQ(ManagerClient::property(bmc, unit, "Service", "Type"),
              "v s \"oneshot\"\n");
    EXPECT_EQ(ManagerClient::property(bmc, unit, "Service", "ExecMainStatus"),
              "v i 0\n");
    EXPECT_EQ(ManagerClient::property(bmc, unit, "Unit", "ActiveState"),
              "v s \"inactive\"\n");
    EXPECT_EQ(ManagerClient::property(bmc, unit, "Unit", "ConditionResult"),
              "v b true\n");
}

TEST_P(Flash, OfTheBiosHasAPartitionOfItsOwn)
{
    unit = unitOf(image, "bios");

    expectEnd("done");

    EXPECT_TRUE(bmc.flash("bios") == bytesOf(image));
    EXPECT_THROW(bmc.flash("bmc"), std::runtime_error);
}

TEST_P(Flash, OfASmallerImageLeavesNothingOfTheLarger)
{
    expectEnd("done");
    image = images.make("small",
                        {"--kind", "bmc", "--version", "1", "--size", "10"});
    unit = unitOf(image);

    expectEnd("done");

    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_P(Flash, FailsWhenItIsTold)
{
    for (const auto& [behaviour, result] :
         {std::pair("fail", "v s \"exit-code\"\n"),
          std::pair("corrupt", "v s \"exit-code\"\n"),
          std::pair("crash", "v s \"signal\"\n")})
    {
        bmc.set("flash", behaviour);
        expectEnd("failed");
        EXPECT_EQ(unitResult(), result);
        EXPECT_EQ(ManagerClient::property(bmc, unit, "Unit", "ActiveState"),
                  "v s \"failed\"\n");
    }
    bmc.set("flash", "normal");
    expectEnd("done");
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_P(Flash, IsGivenUpAfterTheSetTime)
{
    bmc.set("flash", "hang");
    bmc.set("flash-timeout", "300");

    expectEnd("failed");

    EXPECT_EQ(unitResult(), "v s \"timeout\"\n");
}

TEST_P(Flash, FailsWhereTheImageIsMissing)
{
    unit = unitOf(images.missing());

    expectEnd("failed");

    EXPECT_THROW(bmc.flash("bmc"), std::runtime_error);
}

TEST_P(Flash, ReadsADashOfThePathAsASlash)
{
    unit = unitOf(images.make("a-b", {"--kind", "bmc", "--version", "1"}));

    expectEnd("failed");
}

TEST_P(Flash, ThatIsStoppedEndsTwiceFirstCanceledThenDone)
{
    bmc.set("flash", "hang");
    client.call("StartUnit", {unit, "replace"});

    EXPECT_EQ(client.call("StopUnit", {unit, "replace"}), "");

    EXPECT_THAT(client.ends(2),
                ElementsAre(unit + ": canceled", unit + ": done"));
}

TEST_P(Flash, ThatIsStartedTwiceEndsOnce)
{
    const std::vector<std::string> start{"org.freedesktop.systemd1",
                                         "/org/freedesktop/systemd1",
                                         managerInterface,
                                         "StartUnit",
                                         "ss",
                                         unit,
                                         "replace"};
    bmc.set("flash-time", "500");

    const auto first = bmc.call(start);
    EXPECT_EQ(bmc.call(start), first);

    EXPECT_THAT(client.ends(1), ElementsAre(unit + ": done"));
    expectEnd("done");
}

TEST_P(Flash, IsRefusedWhereTheUnitNameIsInvalidOrUnknown)
{
    EXPECT_EQ(client.call("StartUnit",
                          {"obmc-flash-bmc-rot2@a b.service", "replace"}),
              "org.freedesktop.DBus.Error.InvalidArgs: Unit name "
              "obmc-flash-bmc-rot2@a b.service is not valid.");
    EXPECT_EQ(client.call("StartUnit", {"other@a.service", "replace"}),
              "org.freedesktop.systemd1.NoSuchUnit: Unit other@a.service not "
              "found.");
}

TEST_P(Flash, IsRefusedWhereTheManagerIsTold)
{
    bmc.set("manager", "refuse");
    EXPECT_EQ(client.call("StartUnit", {unit, "replace"}),
              "org.freedesktop.systemd1.UnitMasked: Unit " + unit +
                  " is masked.");
    bmc.set("manager", "error");
    EXPECT_EQ(client.call("StartUnit", {unit, "replace"}),
              "org.freedesktop.systemd1.NoSuchUnit: Unit " + unit +
                  " not found.");
    bmc.set("manager", "absent");
    EXPECT_EQ(client.call("StartUnit", {unit, "replace"}),
              "org.freedesktop.DBus.Error.ServiceUnknown: The name "
              "org.freedesktop.systemd1 was not provided by any .service "
              "files");
    bmc.set("manager", "silent");
    EXPECT_EQ(
        bmc.call({"--timeout=1", "org.freedesktop.systemd1",
                  "/org/freedesktop/systemd1", managerInterface, "Subscribe"}),
        (Completed{1, "", "Call failed: Connection timed out\n"}));
    bmc.set("manager", "normal");
    client.call("Subscribe", {});
    expectEnd("done");
}

TEST(FlashOfTheBuiltinManager, CanBeAnsweredWithAnotherType)
{
    const Simulation bmc(
        {"--manager", "builtin", "--set", "manager=wrong-type"});
    const Images images;
    const auto image = images.bmc("1");
    auto path = image;
    std::ranges::replace(path, '/', '-');

    EXPECT_EQ(bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                        managerInterface, "StartUnit", "ss",
                        R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)" + path +
                            ".service",
                        "replace"}),
              (Completed{0, "u 1\n", ""}));
}

TEST(FlashOfTheRealManager, CannotBeAnsweredWithAnotherType)
{
    SKIP_WITHOUT_SYSTEMD();
    const Simulation bmc;

    EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "manager", "wrong-type"}),
              (Completed{1, "",
                         "wexa-bmcsim: a real systemd cannot answer with "
                         "another type; run with --manager builtin\n"}));
}

} // namespace
