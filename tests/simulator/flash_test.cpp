// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/images.hpp"
#include "../support/private_bus.hpp"
#include "../support/simulation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <stdexcept>

// Flash units under either manager: what they write, and what a client is
// told of it. Both managers must say the same.

using namespace test;
using testing::ElementsAre;

namespace
{

constexpr auto manager = "org.freedesktop.systemd1.Manager";

/** A client of the unit manager that hears of the jobs' ends. */
class ManagerClient
{
  public:
    explicit ManagerClient(const Simulation& bmc) :
        connection(connectTo(bmc.busAddress()))
    {
        check(sd_bus_match_signal(connection.get(), nullptr, nullptr, nullptr,
                                  manager, "JobRemoved", heard, this),
              "match");
        call("Subscribe", {});
    }

    /** The error's name and text, or nothing. */
    std::string call(const char* member, const std::vector<std::string>& words)
    {
        sd_bus_message* message = nullptr;
        check(sd_bus_message_new_method_call(
                  connection.get(), &message, "org.freedesktop.systemd1",
                  "/org/freedesktop/systemd1", manager, member),
              "call");
        for (const auto& word : words)
        {
            sd_bus_message_append(message, "s", word.c_str());
        }
        sd_bus_error error = {};
        sd_bus_call(connection.get(), message, 0, &error, nullptr);
        sd_bus_message_unref(message);
        const auto text = error.name == nullptr
                              ? std::string()
                              : std::string(error.name) + ": " + error.message;
        sd_bus_error_free(&error);
        return text;
    }

    /** The next ends of `count` jobs of flash units, as "unit: result". */
    std::vector<std::string> ends(std::size_t count)
    {
        processUntil(connection.get(), [&] { return results.size() >= count; });
        return std::exchange(results, {});
    }

    /** A property of a unit, as text. */
    static std::string property(const Simulation& bmc, const std::string& unit,
                                const std::string& interface,
                                const std::string& name)
    {
        const auto loaded =
            bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                      manager, "LoadUnit", "s", unit});
        const auto path = loaded.out.substr(3, loaded.out.size() - 5);
        return bmc
            .call({"org.freedesktop.systemd1", path,
                   "org.freedesktop.DBus.Properties", "Get", "ss",
                   "org.freedesktop.systemd1." + interface, name})
            .out;
    }

  private:
    static int heard(sd_bus_message* signal, void* client, sd_bus_error*)
    {
        std::uint32_t id = 0;
        const char* job = nullptr;
        const char* unit = nullptr;
        const char* result = nullptr;
        sd_bus_message_read(signal, "uoss", &id, &job, &unit, &result);
        if (std::string(unit).starts_with("obmc-flash"))
        {
            static_cast<ManagerClient*>(client)->results.push_back(
                std::string(unit) + ": " + result);
        }
        return 0;
    }

    Connection connection;
    std::vector<std::string> results;
};

class Flash : public testing::TestWithParam<const char*>
{
  protected:
    Flash()
    {
        bmc.set("flash-time", "100");
    }

    static std::string unitOf(const std::string& path,
                              const std::string& device = "bmc")
    {
        auto converted = path;
        std::ranges::replace(converted, '/', '-');
        return (device == "bmc"
                    ? R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)"
                    : R"(obmc-flash-host-bios@bios_rot2\x20update\x20)") +
               converted + ".service";
    }

    void expectEnd(const std::string& result)
    {
        EXPECT_EQ(client.call("StartUnit", {unit, "replace"}), "");
        EXPECT_THAT(client.ends(1), ElementsAre(unit + ": " + result));
    }

    std::string unitResult() const
    {
        return ManagerClient::property(bmc, unit, "Service", "Result");
    }

    Simulation bmc{{"--manager", GetParam()}};
    ManagerClient client{bmc};
    Images images;
    std::string image = images.bmc("2.14.0");
    std::string unit = unitOf(image);
};

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
                                         manager,
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

TEST_P(Flash, IsRefusedWhereTheUnitNameIsNone)
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
    EXPECT_EQ(bmc.call({"--timeout=1", "org.freedesktop.systemd1",
                        "/org/freedesktop/systemd1", manager, "Subscribe"}),
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
                        manager, "StartUnit", "ss",
                        R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)" + path +
                            ".service",
                        "replace"}),
              (Completed{0, "u 1\n", ""}));
}

TEST(FlashOfTheRealManager, CannotBeAnsweredWithAnotherType)
{
    const Simulation bmc;

    EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "manager", "wrong-type"}),
              (Completed{1, "",
                         "wexa-bmcsim: a real systemd cannot answer with "
                         "another type; run with --manager builtin\n"}));
}

} // namespace
