// SPDX-License-Identifier: Apache-2.0
#include "managed_flash.hpp"
#include "manager_signals.hpp"

#include <functional>
#include <sstream>

// What the object of a flash unit tells before, during and after its run, and
// what it signals. Both managers must say the same.

using namespace test;
using testing::ElementsAre;
using testing::MatchesRegex;

namespace
{

class UnitObject : public ManagedFlash
{
  protected:
    UnitObject()
    {
        // The object of a unit that someone refers to outlives the flash.
        client.call("RefUnit", {unit});
    }

    /** The lines of busctl, one a property. */
    std::string properties(const std::string& interface,
                           const std::vector<std::string>& names) const
    {
        std::vector<std::string> words{
            "busctl",       "--address=" + bmc.busAddress(),
            "get-property", "org.freedesktop.systemd1",
            path,           "org.freedesktop.systemd1." + interface};
        words.insert(words.end(), names.begin(), names.end());
        const auto done = bmc.run(words);
        return done.out + done.err;
    }

    std::string state() const
    {
        return properties("Unit", {"ActiveState", "SubState", "ConditionResult",
                                   "AssertResult"});
    }

    std::string result() const
    {
        return properties("Service",
                          {"Result", "ExecMainCode", "ExecMainStatus"});
    }

    std::string invocation() const
    {
        return properties("Unit", {"InvocationID"});
    }

    std::uint64_t number(const std::string& name) const
    {
        return std::stoull(properties("Service", {name}).substr(2));
    }

    /** What the unit is, whatever it does. */
    std::string nature() const
    {
        return properties("Unit", {"Id", "LoadState", "FragmentPath",
                                   "Description", "Conditions"}) +
               properties("Service",
                          {"Type", "RemainAfterExit", "TimeoutStartUSec",
                           "StandardOutput", "StandardError"});
    }

    std::string job() const
    {
        return properties("Unit", {"Job"});
    }

    std::string path = ManagerClient::pathOf(bmc, unit);
};

INSTANTIATE_TEST_SUITE_P(Managers, UnitObject,
                         testing::Values("systemd", "builtin"),
                         [](const auto& row) {
                             return std::string(row.param);
                         });

/** As busctl prints it, with its backslashes doubled. */
std::string printed(const std::string& text)
{
    std::string doubled;
    for (const auto character : text)
    {
        doubled += std::string(character == '\\' ? 2 : 1, character);
    }
    return '"' + doubled + '"';
}

TEST_P(UnitObject, DescribesTheUnit)
{
    EXPECT_EQ(nature(), "s " + printed(unit) + "\ns \"loaded\"\ns \"" +
                            bmc.directory() +
                            "/units/obmc-flash-bmc-rot2@.service\"\n"
                            "s \"Flash of bmc_rot2 update " +
                            image +
                            "\"\na(sbbsi) 0\ns \"oneshot\"\nb false\n"
                            "t 90000000\ns \"append\"\ns \"append\"\n");
    bmc.set("flash-timeout", "1500");
    EXPECT_EQ(properties("Service", {"TimeoutStartUSec"}), "t 1500000\n");
}

TEST_P(UnitObject, TellsThatTheUnitHasNotRun)
{
    EXPECT_EQ(state(), "s \"inactive\"\ns \"dead\"\nb false\nb false\n");
    EXPECT_EQ(result(), "s \"success\"\ni 0\ni 0\n");
    EXPECT_EQ(job(), "(uo) 0 \"/\"\n");
    EXPECT_EQ(invocation(), "ay 0\n");
    EXPECT_EQ(number("ExecMainPID"), 0);
    EXPECT_EQ(number("ExecMainStartTimestamp"), 0);
    EXPECT_EQ(number("ExecMainExitTimestamp"), 0);
}

TEST_P(UnitObject, TellsThatTheUnitRuns)
{
    bmc.set("flash", "hang");
    client.call("StartUnit", {unit, "replace"});
    bmc.awaitFlash("bmc");

    EXPECT_EQ(state(), "s \"activating\"\ns \"start\"\nb true\nb true\n");
    EXPECT_EQ(result(), "s \"success\"\ni 0\ni 0\n");
    EXPECT_THAT(job(), MatchesRegex("\\(uo\\) [1-9][0-9]* "
                                    "\"/org/freedesktop/systemd1/job/"
                                    "[1-9][0-9]*\"\n"));
    EXPECT_THAT(invocation(), MatchesRegex("ay 16( [0-9]+)+\n"));
    EXPECT_GT(number("ExecMainPID"), 0);
    EXPECT_GT(number("ExecMainStartTimestamp"), 0);
    EXPECT_EQ(number("ExecMainExitTimestamp"), 0);
}

TEST_P(UnitObject, TellsHowTheUnitEnded)
{
    bmc.set("flash", "fail");
    expectEnd("failed");

    EXPECT_EQ(state(), "s \"failed\"\ns \"failed\"\nb true\nb true\n");
    EXPECT_EQ(result(), "s \"exit-code\"\ni 1\ni 1\n");
    EXPECT_EQ(job(), "(uo) 0 \"/\"\n");
    EXPECT_GT(number("ExecMainExitTimestamp"),
              number("ExecMainStartTimestamp"));
    EXPECT_GT(number("ExecMainExitTimestampMonotonic"),
              number("ExecMainStartTimestampMonotonic"));
}

TEST_P(UnitObject, TellsEachRunFromTheOthers)
{
    expectEnd("done");
    const auto first = invocation();
    const auto process = number("ExecMainPID");

    bmc.set("flash", "crash");
    expectEnd("failed");

    EXPECT_NE(invocation(), first);
    EXPECT_NE(number("ExecMainPID"), process);
    EXPECT_EQ(result(), "s \"signal\"\ni 2\ni 9\n");
}

TEST_P(UnitObject, TellsTheCommandAndHowItEnded)
{
    const auto command = [&](const std::string& end) {
        return "a(sasbttttuii) 1 \"" + fromEnvironment("WEXA_BMCSIM") +
               "\" 4 \"" + fromEnvironment("WEXA_BMCSIM") +
               "\" \"write-flash\" \"" + bmc.directory() +
               "\" \"bmc_rot2 update " + image + "\" false " + end + "\n";
    };
    EXPECT_EQ(properties("Service", {"ExecStart"}), command("0 0 0 0 0 0 0"));
    expectEnd("done");

    std::ostringstream end;
    for (const auto* moment : {"Start", "Exit"})
    {
        const auto name = std::string("ExecMain") + moment + "Timestamp";
        end << number(name) << ' ' << number(name + "Monotonic") << ' ';
    }
    end << number("ExecMainPID") << " 1 0";
    EXPECT_EQ(properties("Service", {"ExecStart"}), command(end.str()));
}

TEST_P(UnitObject, IsListedByStateAndName)
{
    const auto list = [&](const std::string& state,
                          const std::string& pattern) {
        return bmc
            .call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                   managerInterface, "ListUnitsByPatterns", "asas", "1", state,
                   "1", pattern})
            .out;
    };
    const auto entry = "a(ssssssouso) 1 " + printed(unit) +
                       " \"Flash of bmc_rot2 update " + image +
                       "\" \"loaded\" \"inactive\" \"dead\" \"\" \"" + path +
                       "\" 0 \"\" \"/\"\n";
    EXPECT_EQ(list("inactive", "obmc-flash-*"), entry);
    EXPECT_EQ(list("dead", unit.substr(0, 20) + "*"), entry);
    EXPECT_EQ(list("failed", "obmc-flash-*"), "a(ssssssouso) 0\n");
    EXPECT_EQ(list("inactive", "obmc-flash-host*"), "a(ssssssouso) 0\n");
}

TEST_P(UnitObject, IsNotFoundBeforeItIsLoaded)
{
    const auto other = unitOf("/nonexistent");
    EXPECT_EQ(client.call("GetUnit", {other}),
              "org.freedesktop.systemd1.NoSuchUnit: Unit " + other +
                  " not loaded.");
    EXPECT_EQ(client.call("GetUnit", {unit}), "");
}

TEST_P(UnitObject, SignalsItsStatesAroundItsJob)
{
    ManagerSignals signals(bmc.busAddress(), unit, path);
    client.call("StartUnit", {unit, "replace"});
    EXPECT_THAT(signals.next(6),
                ElementsAre("inactive dead, has a job", "JobNew",
                            "activating start, has a job",
                            "inactive dead, has a job", "JobRemoved done",
                            "inactive dead"));
}

TEST_P(UnitObject, SignalsThatItFailedBeforeItsJobEnds)
{
    bmc.set("flash", "fail");
    ManagerSignals signals(bmc.busAddress(), unit, path);
    client.call("StartUnit", {unit, "replace"});
    EXPECT_THAT(signals.next(6),
                ElementsAre("inactive dead, has a job", "JobNew",
                            "activating start, has a job",
                            "failed failed, has a job", "JobRemoved failed",
                            "failed failed"));
}

} // namespace
