// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/rights.hpp"
#include "../support/temporary_directory.hpp"
#include "managed_flash.hpp"
#include "manager_signals.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

// A flash unit looks the same under a real systemd and under the built-in
// manager: what is answered, what is signalled, and each property that a client
// reads before, during and after the flash, except identifiers and times.

using namespace test;
using testing::ElementsAre;

namespace
{

/** A flash unit that does something of its own. */
struct Case
{
    std::string name;
    /** Of the simulated BMC, from the start: "flash=fail". */
    std::vector<std::string> settings = {};
    /** In place of the flash unit's file; empty for none. */
    std::string unitFile = {};
    /** Whether it is stopped in the middle. */
    bool isStopped = false;
    /** How the manager behaves, unless it is normal. */
    std::string manager = {};
};

void PrintTo(const Case& each, std::ostream* stream)
{
    *stream << each.name;
}

/** What a client of one manager saw. */
class Observation
{
  public:
    Observation(const char* manager, const Case& each,
                const std::string& image) :
        each(each), unit(ManagedFlash::unitOf(image)),
        bmc(optionsOf(manager, each)), client(bmc)
    {
        if (!each.unitFile.empty())
        {
            // What may be required.
            bmc.replaceUnit("failing.service",
                            "[Unit]\nDefaultDependencies=no\n[Service]\n"
                            "Type=oneshot\nExecStart=/bin/false\n");
            bmc.replaceFlashUnit(each.unitFile);
        }
        if (!each.manager.empty())
        {
            bmc.set("manager", each.manager);
        }
    }

    std::vector<std::string> all()
    {
        seen.push_back("RefUnit: " + client.call("RefUnit", {unit}));
        path = ManagerClient::pathOf(bmc, unit);
        ManagerSignals signals(bmc.busAddress(), unit, path);
        look("before");
        const auto answer = client.call("StartUnit", {unit, "replace"});
        seen.push_back("StartUnit: " + answer);
        if (answer.empty())
        {
            watch(signals);
            look("after");
        }
        return withoutNames();
    }

  private:
    static std::vector<std::string> optionsOf(const char* manager,
                                              const Case& each)
    {
        std::vector<std::string> options{"--manager", manager, "--set",
                                         "flash-time=100"};
        for (const auto& setting : each.settings)
        {
            options.insert(options.end(), {"--set", setting});
        }
        return options;
    }

    void watch(ManagerSignals& signals)
    {
        if (each.isStopped)
        {
            bmc.awaitFlash("bmc");
            look("during");
            seen.push_back("StopUnit: " +
                           client.call("StopUnit", {unit, "replace"}));
        }
        for (const auto& signal : signals.untilIdle(each.isStopped ? 2 : 1))
        {
            seen.push_back(signal);
        }
    }

    /** Each property, as busctl prints it. */
    void look(const std::string& when)
    {
        lookAt(when, "Unit",
               {"Id",
                "Names",
                "Description",
                "LoadState",
                "LoadError",
                "FragmentPath",
                "ActiveState",
                "SubState",
                "Job",
                "ConditionResult",
                "AssertResult",
                "Conditions",
                "Asserts",
                "InvocationID",
                "StateChangeTimestamp",
                "StateChangeTimestampMonotonic",
                "InactiveExitTimestamp",
                "ActiveEnterTimestamp",
                "ActiveExitTimestamp",
                "InactiveEnterTimestamp",
                "ConditionTimestamp",
                "AssertTimestamp",
                "CanStart",
                "CanStop",
                "Following",
                "TriggeredBy",
                "Transient",
                "DropInPaths"});
        lookAt(when, "Service",
               {"Type",
                "RemainAfterExit",
                "TimeoutStartUSec",
                "TimeoutStopUSec",
                "SuccessExitStatus",
                "Environment",
                "StandardOutput",
                "StandardError",
                "Result",
                "ExecCondition",
                "ExecStartPre",
                "ExecStart",
                "MainPID",
                "ControlPID",
                "ExecMainPID",
                "ExecMainCode",
                "ExecMainStatus",
                "ExecMainStartTimestamp",
                "ExecMainStartTimestampMonotonic",
                "ExecMainExitTimestamp",
                "ExecMainExitTimestampMonotonic",
                "Restart",
                "KillMode",
                "KillSignal"});
    }

    void lookAt(const std::string& when, const std::string& interface,
                const std::vector<std::string>& names)
    {
        std::vector<std::string> words{
            "busctl",       "--address=" + bmc.busAddress(),
            "get-property", "org.freedesktop.systemd1",
            path,           "org.freedesktop.systemd1." + interface};
        words.insert(words.end(), names.begin(), names.end());
        const auto done = bmc.run(words);
        EXPECT_EQ(done.err, "");
        std::istringstream lines(done.out);
        std::string line;
        for (const auto& name : names)
        {
            std::getline(lines, line);
            seen.push_back(when + ' ' + name + ": " + withoutTimes(name, line));
        }
    }

    /** Only whether there is one, of what is another each time. */
    static std::string withoutTimes(const std::string& name,
                                    const std::string& line)
    {
        static const std::regex number("\\b[1-9][0-9]*");
        static const std::regex ran(
            "(true|false)( [0-9]+ [0-9]+ [0-9]+ [0-9]+ [0-9]+)( [0-9]+ "
            "[0-9]+)");
        static const std::set<std::string> identifiers{
            "MainPID", "ControlPID", "ExecMainPID", "InvocationID", "Job"};
        if (name.find("Timestamp") != std::string::npos ||
            identifiers.contains(name))
        {
            return line.find_first_of("123456789") == std::string::npos ? line
                                                                        : "one";
        }
        std::string text;
        auto rest = line;
        for (std::smatch match; std::regex_search(rest, match, ran);)
        {
            text += match.prefix().str() + match[1].str() +
                    std::regex_replace(match[2].str(), number, "N") +
                    match[3].str();
            rest = match.suffix();
        }
        return text + rest;
    }

    /** The directory of the simulated BMC is another one each time. */
    std::vector<std::string> withoutNames() const
    {
        auto lines = seen;
        for (auto& line : lines)
        {
            for (auto at = line.find(bmc.directory()); at != std::string::npos;
                 at = line.find(bmc.directory()))
            {
                line.replace(at, bmc.directory().size(), "DIRECTORY");
            }
        }
        return lines;
    }

    const Case& each;
    std::string unit;
    Simulation bmc;
    ManagerClient client;
    std::string path;
    std::vector<std::string> seen;
};

class ManagersAgree : public testing::TestWithParam<Case>
{
  protected:
    Images images;
    std::string image = images.bmc("2.14.0");
};

TEST_P(ManagersAgree, OnAllThatAClientSees)
{
    SKIP_WITHOUT_SYSTEMD();
    const auto systemd = Observation("systemd", GetParam(), image).all();
    EXPECT_EQ(Observation("builtin", GetParam(), image).all(), systemd);
}

/** A unit file whose [Service] begins so. */
std::string oneshot(const std::string& service, const std::string& unit = "")
{
    return "[Unit]\nDefaultDependencies=no\n" + unit +
           "[Service]\nType=oneshot\nTimeoutStartSec=60\n" + service;
}

INSTANTIATE_TEST_SUITE_P(
    Units, ManagersAgree,
    testing::Values(
        Case{"Flashes"}, Case{"Fails", {"flash=fail"}},
        Case{"Corrupts", {"flash=corrupt"}}, Case{"Crashes", {"flash=crash"}},
        Case{"TimesOut", {"flash=hang", "flash-timeout=300"}},
        Case{"IsStopped", {"flash=hang"}, "", true},
        Case{"HasAConditionThatDoesNotHold", {"flash-unit=condition"}},
        Case{"IgnoresAFailure", {"flash-unit=ignored-failure", "flash=fail"}},
        Case{"IsNotWaitedFor", {"flash-unit=simple"}},
        Case{"FailsUnwaited", {"flash-unit=simple", "flash=fail"}},
        Case{
            "IsStoppedUnwaited", {"flash-unit=simple", "flash=hang"}, "", true},
        Case{"HasNoTimeOut", {"flash-unit=no-timeout"}},
        Case{"HasNoTimeOutAndIsStopped",
             {"flash-unit=no-timeout", "flash=hang"},
             "",
             true},
        Case{"IsMasked", {}, "", false, "refuse"},
        Case{"IsMissing", {}, "", false, "error"},
        Case{"HasAnAssertionThatDoesNotHold",
             {},
             oneshot("ExecStart=/bin/true\n",
                     "AssertPathExists=/nonexistent\n")},
        Case{"HasAConditionThatHolds",
             {},
             oneshot("ExecStart=/bin/true\n",
                     "ConditionPathExists=/\n"
                     "ConditionPathExists=!/nonexistent\n")},
        Case{"HasAConditionOfWhichOneMustHold",
             {},
             oneshot("ExecStart=/bin/true\n",
                     "ConditionPathExists=|/nonexistent\n"
                     "ConditionPathExists=|/\n")},
        Case{"RequiresAUnitThatFails",
             {},
             oneshot("ExecStart=/bin/true\n",
                     "Requires=failing.service\nAfter=failing.service\n")},
        Case{"RequiresAUnitThatIsMissing",
             {},
             oneshot("ExecStart=/bin/true\n", "Requires=missing.service\n")},
        Case{"RequiresWhatIsNoUnitName",
             {},
             oneshot("ExecStart=/bin/true\n", "Requires=nosuffix\n")},
        Case{"HasAnExecConditionThatDoesNotHold",
             {},
             oneshot("ExecCondition=/bin/false\nExecStart=/bin/true\n")},
        Case{"FailsBeforeItsProgramRuns",
             {},
             oneshot("ExecStartPre=/bin/false\nExecStart=/bin/true\n")},
        Case{"HasNoProgram", {}, oneshot("ExecStart=/nonexistent/flash\n")},
        Case{"CannotWriteItsLog",
             {},
             oneshot("StandardOutput=append:/nonexistent/log\n"
                     "ExecStart=/bin/true\n")},
        Case{"RunsSeveralPrograms",
             {},
             oneshot("ExecStart=/bin/true \"a b\" %%i\n"
                     "ExecStart=-/bin/false\nExecStart=/bin/true\n")},
        Case{"CallsAnotherStatusSuccess",
             {},
             oneshot("SuccessExitStatus=1\nExecStart=/bin/false\n")},
        Case{"RemainsAfterExit",
             {},
             oneshot("RemainAfterExit=yes\nExecStart=/bin/true\n")},
        Case{"CannotWriteItsErrors",
             {},
             oneshot("StandardError=append:/nonexistent/log\n"
                     "ExecStart=/bin/true\n")},
        Case{"SetsAVariableTwice",
             {},
             oneshot("Environment=A=1 B=2\nEnvironment=A=2 PATH=/opt\n"
                     "ExecStart=/bin/sh -c 'test \"$$A$$PATH\" = 2/opt'\n")},
        Case{"MayTakeAMonth",
             {},
             oneshot("TimeoutStartSec=2592000\nExecStart=/bin/true\n")},
        Case{"IsEmpty", {}, "[Service]\nType=oneshot\n"}),
    [](const auto& row) { return row.param.name; });

TEST(Managers, AgreeOnOddRequests)
{
    SKIP_WITHOUT_SYSTEMD();
    const std::vector<std::vector<std::string>> requests{
        {"StartUnit", "missing.service", "replace"},
        {"StartUnit", "a@.service", "replace"},
        {"StartUnit", "a.odd", "replace"},
        {"StartUnit", "failing.service", "odd"},
        {"StartUnit", "failing.service", "isolate"},
        {"StartUnit", "failing.service", "triggering"},
        {"StopUnit", "failing.service", "isolate"},
        {"StopUnit", "failing.service", "triggering"},
        {"StartUnit", "needy.service", "replace"},
        {"StartUnit", "needy.service", "ignore-requirements"},
        {"StartUnit", "needy.service", "ignore-dependencies"},
        {"StartUnit", "before.service", "replace"},
        {"StopUnit", "missing.service", "replace"},
        {"LoadUnit", "a@.service"},
        {"LoadUnit", "missing.service"},
        {"GetUnit", "odd"},
        {"GetUnit", "missing@x.service"},
        {"RefUnit", "missing.service"},
        {"UnrefUnit", "missing@x.service"},
        {"ResetFailedUnit", "missing@x.service"},
        {"Subscribe"},
        {"Unsubscribe"},
        {"Unsubscribe"},
    };
    const auto answers = [&](const char* manager) {
        const Simulation bmc({"--manager", manager});
        bmc.replaceUnit("failing.service", oneshot("ExecStart=/bin/false\n"));
        bmc.replaceUnit("needy.service", oneshot("ExecStart=/bin/true\n",
                                                 "Requires=missing.service\n"));
        for (const auto& [name, other] :
             {std::pair("before", "behind"), std::pair("behind", "before")})
        {
            bmc.replaceUnit(std::string(name) + ".service",
                            oneshot("ExecStart=/bin/true\n",
                                    std::string("Requires=") + other +
                                        ".service\nAfter=" + other +
                                        ".service\n"));
        }
        ManagerClient client(bmc);
        std::vector<std::string> list;
        for (const auto& request : requests)
        {
            auto words = request;
            words.erase(words.begin());
            list.push_back(client.call(request.front().c_str(), words));
        }
        return list;
    };
    EXPECT_EQ(answers("builtin"), answers("systemd"));
}

TEST(Managers, AgreeOnTheMembersThatBothOffer)
{
    SKIP_WITHOUT_SYSTEMD();
    const auto offered = [](const char* manager) {
        const Simulation bmc({"--manager", manager});
        const auto unit = ManagedFlash::unitOf("/image");
        std::set<std::string> members;
        for (const auto& path : {std::string("/org/freedesktop/systemd1"),
                                 ManagerClient::pathOf(bmc, unit)})
        {
            std::istringstream lines(
                bmc.run({"busctl", "--address=" + bmc.busAddress(),
                         "introspect", "--full", "org.freedesktop.systemd1",
                         path})
                    .out);
            for (std::string line; std::getline(lines, line);)
            {
                std::istringstream words(line);
                std::string name;
                std::string kind;
                std::string type;
                std::string result;
                words >> name >> kind >> type >> result;
                // Values differ; the flags are the last word.
                for (std::string next; words >> next;)
                {
                    result = kind == "property" ? next : result;
                }
                members.insert(name + ' ' + kind + ' ' + type + ' ' + result);
            }
        }
        return members;
    };
    const auto systemd = offered("systemd");
    for (const auto& member : offered("builtin"))
    {
        EXPECT_TRUE(systemd.contains(member)) << member;
    }
}

class Manager : public ManagedFlash
{
  protected:
    bool isLoaded()
    {
        return client.call("GetUnit", {unit}).empty();
    }

    /** A unit of whose jobs the client hears. */
    std::string named(const std::string& name, const std::string& sections)
    {
        const auto unit = "obmc-flash-" + name + ".service";
        bmc.replaceUnit(unit, sections);
        EXPECT_EQ(client.call("RefUnit", {unit}), "");
        return unit;
    }

    std::string unitState(const std::string& unit)
    {
        return ManagerClient::property(bmc, unit, "Unit", "ActiveState");
    }

    /** A named pipe for a program of a unit. */
    std::string newGate()
    {
        const auto gate = temporary.file("gate");
        EXPECT_EQ(mkfifo(gate.c_str(), 0600), 0);
        return gate;
    }

    /** Whether a program has the gate open. */
    static bool isOpen(const std::string& gate)
    {
        const auto file = open(gate.c_str(), O_WRONLY | O_NONBLOCK);
        close(file);
        return file >= 0;
    }

    TemporaryDirectory temporary;
};

INSTANTIATE_TEST_SUITE_P(Managers, Manager,
                         testing::Values("systemd", "builtin"),
                         [](const auto& row) {
                             return std::string(row.param);
                         });

TEST_P(Manager, ForgetsAUnitWhenItsLastClientHasLeft)
{
    {
        ManagerClient other(bmc);
        other.call("RefUnit", {unit});
        expectEnd("done");
        EXPECT_TRUE(isLoaded());
    }
    awaitTrue("that the unit is forgotten", [&] { return !isLoaded(); });
}

TEST_P(Manager, KeepsAUnitThatFailedUntilItIsReset)
{
    bmc.set("flash", "fail");
    expectEnd("failed");
    EXPECT_TRUE(isLoaded());
    EXPECT_EQ(client.call("ResetFailedUnit", {unit}), "");
    awaitTrue("that the unit is forgotten", [&] { return !isLoaded(); });
}

TEST_P(Manager, StartsAUnitAtMostFiveTimesInTenSeconds)
{
    client.call("RefUnit", {unit});
    bmc.set("flash-time", "1");
    for (auto start = 0; start < 5; ++start)
    {
        expectEnd("done");
    }
    expectEnd("failed");
    EXPECT_EQ(unitResult(), "v s \"start-limit-hit\"\n");
    EXPECT_EQ(client.call("ResetFailedUnit", {unit}), "");
    expectEnd("done");
}

TEST_P(Manager, TellsTheEndOfAJobToTheClientThatQueuedIt)
{
    // This client was the only subscriber.
    EXPECT_EQ(client.call("Unsubscribe", {}), "");
    expectEnd("done");
}

TEST_P(Manager, WritesErrorsToAFileOfTheirOwn)
{
    const auto output = bmc.directory() + "/output";
    const auto errors = bmc.directory() + "/errors";
    bmc.replaceFlashUnit(oneshot(
        "StandardOutput=append:" + output + "\nStandardError=append:" + errors +
        "\nExecStart=/bin/sh -c 'echo said; echo bad >&2'\n"));
    expectEnd("done");
    EXPECT_EQ(bytesOf(output), "said\n");
    EXPECT_EQ(bytesOf(errors), "bad\n");
}

TEST_P(Manager, RunsNoFileThatIsNoProgram)
{
    const auto file = bmc.directory() + "/text";
    writeBytes(file, "exit 0\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    bmc.replaceFlashUnit(oneshot("ExecStart=" + file + '\n'));
    client.call("RefUnit", {unit});
    expectEnd("failed");
    EXPECT_EQ(ManagerClient::property(bmc, unit, "Service", "ExecMainStatus"),
              "v i 203\n");
}

/** Sends calls to a service, without a pause, until it is told to end. */
void flood(const std::string& busAddress, const std::stop_token& end)
{
    const auto connection = connectTo(busAddress);
    while (!end.stop_requested())
    {
        sd_bus_message* call = nullptr;
        check(sd_bus_message_new_method_call(
                  connection.get(), &call, "com.WEXA.Host", "/com/WEXA/Host",
                  "org.freedesktop.DBus.Peer", "Ping"),
              "call");
        const Message owned(call, sd_bus_message_unref);
        check(sd_bus_message_set_expect_reply(call, 0), "expect no reply");
        check(sd_bus_send(connection.get(), call, nullptr), "send");
        check(sd_bus_flush(connection.get()), "flush");
    }
}

TEST_P(Manager, EndsAFlashWhileAClientFloodsAService)
{
    const std::jthread flooding(
        [this](const std::stop_token& end) { flood(bmc.busAddress(), end); });
    expectEnd("done");
    EXPECT_EQ(bmc.state()["manager"]["kind"], GetParam());
}

TEST_P(Manager, EndsAFlashThatRunsWhereItLeavesTheBus)
{
    bmc.set("flash", "hang");
    EXPECT_EQ(client.call("StartUnit", {unit, "replace"}), "");
    bmc.awaitFlash("bmc");
    bmc.set("manager", "absent");
    bmc.set("flash", "normal");
    bmc.set("manager", "normal");
    EXPECT_FALSE(isLoaded());
    client.call("Subscribe", {});
    expectEnd("done");
}

TEST_P(Manager, GoesOnWithAUnitWhenTheBusIsGone)
{
    const auto gate = newGate();
    bmc.replaceFlashUnit(
        oneshot("ExecStart=/bin/sh -c \"read line <" + gate +
                "\"\nExecStart=/bin/touch " + temporary.file("first") +
                "\nExecStart=/bin/touch " + temporary.file("second") + '\n'));
    EXPECT_EQ(client.call("StartUnit", {unit, "replace"}), "");

    bmc.set("bus", "gone");
    awaitTrue("that the bus is gone",
              [&] { return bmc.run({"wexa-bmcsim", "state"}).status == 1; });
    std::ofstream(gate) << "go on\n";

    awaitTrue("the last program of the unit", [&] {
        return std::filesystem::exists(temporary.file("second"));
    });
    EXPECT_EQ(bmc.end().status, 128 + SIGTERM);
}

TEST_P(Manager, RunsAFlashOnceThatIsStartedAgainAfterItsJobWasCanceled)
{
    bmc.set("flash", "hang");
    EXPECT_EQ(client.call("StartUnit", {unit, "replace"}), "");
    bmc.awaitFlash("bmc");
    const auto process =
        ManagerClient::property(bmc, unit, "Service", "MainPID");
    const auto job = ManagerClient::property(bmc, unit, "Unit", "Job");
    EXPECT_EQ(bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                        managerInterface, "CancelJob", "u",
                        job.substr(7, job.find(' ', 7) - 7)})
                  .err,
              "");
    EXPECT_EQ(client.call("StartUnit", {unit, "replace"}), "");
    EXPECT_EQ(ManagerClient::property(bmc, unit, "Service", "MainPID"),
              process);

    EXPECT_EQ(client.call("StopUnit", {unit, "replace"}), "");
    EXPECT_THAT(
        client.ends(3),
        ElementsAre(unit + ": canceled", unit + ": canceled", unit + ": done"));
}

TEST_P(Manager, RunsNothingOfAStartThatItRefuses)
{
    const auto first =
        named("first", oneshot("ExecStart=/bin/true\n",
                               "Requires=obmc-flash-second.service\n"));
    bmc.replaceUnit(
        "obmc-flash-second.service",
        oneshot("ExecStart=/bin/true\n", "Requires=missing.service\n"));

    EXPECT_EQ(client.call("StartUnit", {first, "replace"}),
              "org.freedesktop.systemd1.NoSuchUnit: Unit missing.service not "
              "found.");

    expectEnd("done");
    EXPECT_EQ(
        ManagerClient::property(bmc, first, "Unit", "InactiveExitTimestamp"),
        "v t 0\n");
}

TEST_P(Manager, RefusesAStopWhoseDependentIsBeingStarted)
{
    const auto needed = named("needed", oneshot("RemainAfterExit=yes\n"
                                                "ExecStart=/bin/true\n"));
    const auto needy = named("needy", oneshot("ExecStart=/bin/sleep infinity\n",
                                              "Requires=" + needed + '\n'));
    EXPECT_EQ(client.call("StartUnit", {needy, "replace"}), "");
    EXPECT_THAT(client.ends(1), ElementsAre(needed + ": done"));

    EXPECT_EQ(client.call("StopUnit", {needed, "fail"}),
              "org.freedesktop.systemd1.TransactionIsDestructive: Transaction "
              "for " +
                  needed + "/stop is destructive (" + needy +
                  " has 'start' job queued, but 'stop' is included in "
                  "transaction).");
    EXPECT_EQ(unitState(needed), "v s \"active\"\n");
}

TEST_P(Manager, StartsUnitsThatRequireEachOtherAndThemselves)
{
    const auto first =
        named("first",
              oneshot("ExecStart=/bin/true\n",
                      "Requires=obmc-flash-second.service "
                      "obmc-flash-first.service\nAfter=obmc-flash-first.service"
                      "\n"));
    const auto second = named(
        "second", oneshot("ExecStart=/bin/true\n", "Requires=" + first + '\n'));
    EXPECT_EQ(client.call("StartUnit", {first, "replace"}), "");
    EXPECT_THAT(client.ends(2), testing::UnorderedElementsAre(
                                    first + ": done", second + ": done"));
}

TEST_P(Manager, WaitsForARequirementOnlyWithAfter)
{
    const auto gate = newGate();
    const auto needed =
        named("needed", oneshot("ExecStart=/bin/cat " + gate + '\n'));
    const auto beside = named("beside", oneshot("ExecStart=/bin/true\n",
                                                "Requires=" + needed + '\n'));
    const auto after = named(
        "after", oneshot("ExecStart=/bin/true\n",
                         "Requires=" + needed + "\nAfter=" + needed + '\n'));
    EXPECT_EQ(client.call("StartUnit", {after, "replace"}), "");
    EXPECT_EQ(client.call("StartUnit", {beside, "replace"}), "");
    EXPECT_THAT(client.ends(1), ElementsAre(beside + ": done"));

    std::ofstream(gate) << "go on\n";
    EXPECT_THAT(client.ends(2),
                ElementsAre(needed + ": done", after + ": done"));
}

TEST_P(Manager, StopsWhatRequiresAUnitBeforeIt)
{
    const std::string active = "RemainAfterExit=yes\nExecStart=/bin/true\n";
    const auto needed = named("needed", oneshot(active));
    const auto needy =
        named("needy", oneshot(active, "Requires=" + needed +
                                           "\nAfter=" + needed + '\n'));
    EXPECT_EQ(client.call("StartUnit", {needy, "replace"}), "");
    EXPECT_THAT(client.ends(2),
                ElementsAre(needed + ": done", needy + ": done"));

    EXPECT_EQ(client.call("StopUnit", {needed, "replace"}), "");
    EXPECT_THAT(client.ends(2),
                ElementsAre(needy + ": done", needed + ": done"));
    EXPECT_EQ(unitState(needy), "v s \"inactive\"\n");
}

TEST_P(Manager, KeepsWhatAProgramLeavesUntilTheUnitEnds)
{
    const auto gate = newGate();
    const auto left =
        named("left", oneshot("RemainAfterExit=yes\n"
                              "ExecStart=/bin/sh -c \"sleep infinity <>" +
                              gate +
                              " &\"\n"
                              "ExecStart=/bin/true\n"));
    EXPECT_EQ(client.call("StartUnit", {left, "replace"}), "");
    EXPECT_THAT(client.ends(1), ElementsAre(left + ": done"));
    awaitTrue("what is left", [&] { return isOpen(gate); });

    EXPECT_EQ(client.call("StopUnit", {left, "replace"}), "");
    awaitTrue("the end of what is left", [&] { return !isOpen(gate); });
}

TEST_P(Manager, StopsAProgramThatLeftTheGroupOfAnEarlierOne)
{
    const auto gate = newGate();
    const auto two = named(
        "two",
        oneshot("ExecStart=/bin/sh -c \"sleep infinity &\"\n"
                "ExecStart=/bin/sh -c \"exec setsid --wait sleep infinity <>" +
                gate + "\"\n"));
    EXPECT_EQ(client.call("StartUnit", {two, "replace"}), "");
    awaitTrue("the second program", [&] { return isOpen(gate); });

    EXPECT_EQ(client.call("StopUnit", {two, "replace"}), "");
    EXPECT_THAT(client.ends(2),
                ElementsAre(two + ": canceled", two + ": done"));
    EXPECT_EQ(isOpen(gate), false);
}

TEST_P(Manager, FailsAStartThatWaitedUntilItsUnitWasSpoilt)
{
    const auto gate = newGate();
    const auto slow =
        named("slow", oneshot("TimeoutStopSec=1\n"
                              "ExecStart=/bin/sh -c \"trap '' TERM; exec sleep "
                              "infinity <>" +
                              gate + "\"\n"));
    EXPECT_EQ(client.call("StartUnit", {slow, "replace"}), "");
    awaitTrue("the program", [&] { return isOpen(gate); });
    EXPECT_EQ(client.call("StopUnit", {slow, "replace"}), "");
    EXPECT_EQ(client.call("StartUnit", {slow, "replace"}), "");

    bmc.replaceUnit(slow, oneshot("ExecStart=true-without-a-path!/\n"));

    EXPECT_THAT(client.ends(3),
                ElementsAre(slow + ": canceled", slow + ": canceled",
                            slow + ": failed"));
}

TEST_P(Manager, LeavesWhatIsNoUnitNameOutOfAList)
{
    const auto listed =
        bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                  managerInterface, "ListUnitsByNames", "as", "3", "bad name",
                  ".missing.service", "bad"});
    EXPECT_EQ(listed,
              (Completed{0,
                         "a(ssssssouso) 1 \".missing.service\" "
                         "\".missing.service\" \"not-found\" \"inactive\" "
                         "\"dead\" \"\" \"/org/freedesktop/systemd1/unit/"
                         "_2emissing_2eservice\" 0 \"\" \"/\"\n",
                         ""}));
}

TEST(BuiltinManager, FlashesBesideAThousandUnitsThatAreLoaded)
{
    const Simulation bmc({"--manager", "builtin"});
    ManagerClient client(bmc);
    for (auto i = 0; i < 1000; ++i)
    {
        ASSERT_EQ(client.call("RefUnit",
                              {ManagedFlash::unitOf('/' + std::to_string(i))}),
                  "");
    }
    Images images;
    const auto unit = ManagedFlash::unitOf(images.bmc("2.14.0"));
    EXPECT_EQ(client.call("StartUnit", {unit, "replace"}), "");
    EXPECT_THAT(client.ends(1), ElementsAre(unit + ": done"));
}

TEST(BuiltinManager, RefusesJobModesThatItDoesNotKnow)
{
    const Simulation bmc({"--manager", "builtin"});
    ManagerClient client(bmc);
    const auto unit = ManagedFlash::unitOf("/image");
    for (const std::string mode : {"flush", "replace-irreversibly"})
    {
        EXPECT_EQ(client.call("StartUnit", {unit, mode}),
                  "org.freedesktop.DBus.Error.NotSupported: The built-in "
                  "manager does not know job mode " +
                      mode + ".");
    }
    EXPECT_EQ(client.call("StartUnit", {unit, "restart-dependencies"}),
              "org.freedesktop.DBus.Error.InvalidArgs: Job mode "
              "restart-dependencies invalid");
}

} // namespace
