// SPDX-License-Identifier: Apache-2.0
#include "managed_flash.hpp"

#include <chrono>
#include <filesystem>

// A unit manager that does at once what it is told, and says it two seconds
// late.

using namespace test;
using testing::ElementsAre;
using testing::MatchesRegex;

namespace
{

using std::chrono::steady_clock;

constexpr std::chrono::seconds lateness{2};

class SlowManager : public ManagedFlash
{
  protected:
    SlowManager()
    {
        bmc.set("flash-time", "1");
        bmc.set("manager", "slow");
    }

    std::string timeoutOfTheUnit() const
    {
        return ManagerClient::property(bmc, unit, "Service",
                                       "TimeoutStartUSec");
    }
};

INSTANTIATE_TEST_SUITE_P(Managers, SlowManager,
                         testing::Values("systemd", "builtin"),
                         [](const auto& row) {
                             return std::string(row.param);
                         });

TEST_P(SlowManager, StartsAUnitBeforeItAnswers)
{
    const auto begin = steady_clock::now();

    EXPECT_EQ(client.call("StartUnit", {unit, "replace"}), "");

    EXPECT_GE(steady_clock::now() - begin, lateness);
    EXPECT_EQ(bmc.flash("bmc").size(), std::filesystem::file_size(image));
}

TEST_P(SlowManager, SignalsLateAndInOrder)
{
    const auto begin = steady_clock::now();
    EXPECT_EQ(client.call("StartUnit", {unit, "replace"}), "");
    EXPECT_THAT(client.ends(1), ElementsAre(unit + ": done"));
    EXPECT_GE(steady_clock::now() - begin, lateness);
}

TEST_P(SlowManager, KeepsAnswersBackAllForTheSameTime)
{
    constexpr std::size_t calls = 100;
    std::vector<steady_clock::time_point> answers;
    const auto answered = [](sd_bus_message*, void* list, sd_bus_error*) {
        static_cast<decltype(answers)*>(list)->push_back(steady_clock::now());
        return 0;
    };
    const auto connection = connectTo(bmc.busAddress());
    for (std::size_t call = 0; call < calls; ++call)
    {
        check(sd_bus_call_method_async(
                  connection.get(), nullptr, "org.freedesktop.systemd1",
                  "/org/freedesktop/systemd1", managerInterface, "GetUnit",
                  answered, &answers, "s", "odd"),
              "call");
    }
    processUntil(connection.get(), [&] { return answers.size() == calls; });
    EXPECT_LT(answers.back() - answers.front(), lateness);
}

TEST_P(SlowManager, SaysWhatWaitsWhenItIsSlowNoMore)
{
    Process call({"busctl", "--timeout=1h", "--address=" + bmc.busAddress(),
                  "call", "org.freedesktop.systemd1",
                  "/org/freedesktop/systemd1", managerInterface, "StartUnit",
                  "ss", unit, "replace"});
    bmc.awaitFlash("bmc");
    bmc.set("manager", "normal");
    EXPECT_THAT(call.wait().out,
                MatchesRegex("o \"/org/freedesktop/systemd1/job/[0-9]+\"\n"));
    EXPECT_EQ(bmc.state()["manager"]["behaviour"], "normal");
}

TEST_P(SlowManager, TakesUpSettingsAtOnce)
{
    bmc.set("flash-timeout", "1500");
    EXPECT_EQ(timeoutOfTheUnit(), "v t 1500000\n");
}

TEST(SlowRealManager, StaysSlowWhereItCannotBecomeAnother)
{
    SKIP_WITHOUT_SYSTEMD();
    const Simulation bmc({"--set", "manager=slow"});
    EXPECT_EQ(bmc.run({"wexa-bmcsim", "set", "manager", "wrong-type"}).status,
              1);
    const auto begin = steady_clock::now();
    EXPECT_EQ(bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                        managerInterface, "GetUnit", "s", "default.target"})
                  .status,
              0);
    EXPECT_GE(steady_clock::now() - begin, lateness);
}

class RelayedManager : public ManagedFlash
{};

INSTANTIATE_TEST_SUITE_P(Managers, RelayedManager,
                         testing::Values("systemd", "builtin"),
                         [](const auto& row) {
                             return std::string(row.param);
                         });

TEST_P(RelayedManager, HearsOnAfterTheWordThatEndsAHandshake)
{
    EXPECT_NE(client.call("GetUnit", {"BEGIN\r\nx"}), "");
    EXPECT_EQ(client.call("LoadUnit", {unit}), "");
}

TEST(RealManager, CanAnswerWithAFileDescriptor)
{
    SKIP_WITHOUT_SYSTEMD();
    const Simulation bmc;
    EXPECT_THAT(
        bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                  managerInterface, "DumpByFileDescriptor"})
            .out,
        MatchesRegex("h [0-9]+\n"));
}

} // namespace
