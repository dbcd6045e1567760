// SPDX-License-Identifier: Apache-2.0
#include "../support/temporary_directory.hpp"
#include "bmcsim_program.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

using namespace test;

namespace
{

constexpr int refused = 1;
constexpr int wrongUsage = 2;
constexpr int noBoard = 3;

Completed refusal(int status, const std::string& line)
{
    return {status, "", "wexa-bmcsim: " + line + "\n"};
}

Completed usage(const std::string& line)
{
    return refusal(wrongUsage, line + "; see wexa-bmcsim --help");
}

TEST(BmcsimCommandLine, NeedsACommand)
{
    EXPECT_EQ(runBmcsim({}), usage("a command: run, set, state or scenarios is "
                                   "required"));
    EXPECT_EQ(runBmcsim({"stop"}),
              usage("The following argument was not expected: stop"));
    EXPECT_EQ(runBmcsim({"run"}), usage("COMMAND is required"));
}

TEST(BmcsimCommandLine, RefusesUnknownOptionsAndManagers)
{
    EXPECT_EQ(runBmcsim({"run", "--fast"}),
              usage("The following argument was not expected: --fast"));
    EXPECT_EQ(runBmcsim({"run", "--manager", "cron", "--", "true"}),
              usage("--manager: cron not in {auto,systemd,builtin}"));
    EXPECT_EQ(runBmcsim({"run", "--set", "security", "--", "true"}),
              usage("'security' is not NAME=VALUE, such as "
                    "security=refuse"));
}

TEST(BmcsimCommandLine, RefusesAnEmptyAddressOfABus)
{
    EXPECT_EQ(runBmcsim({"run", "--bus", "", "--", "true"}),
              usage("--bus: give the address of a bus, such as "
                    "unix:path=/tmp/bus"));
}

TEST(BmcsimCommandLine, ShowsArgumentsPlain)
{
    EXPECT_EQ(runBmcsim({"\x1b[2J\nforged"}),
              usage("The following argument was not expected: "
                    "\\x1b[2J\\x0aforged"));
    EXPECT_EQ(runBmcsim({"run", "--manager", "builtin", "--",
                         "/nonexistent/\x1b[2J\nforged"}),
              refusal(127, "cannot run /nonexistent/\\x1b[2J\\x0aforged: No "
                           "such file or directory"));
}

TEST(BmcsimCommandLine, RefusesSettingsThatDBusCannotCarry)
{
    const auto notUtf8 = usage(R"('apply-time=\xff' is not UTF-8)");
    EXPECT_EQ(runBmcsim({"set", "apply-time", "\xff"}), notUtf8);
    EXPECT_EQ(runBmcsim({"run", "--set", "apply-time=\xff", "--", "true"}),
              notUtf8);
}

TEST(BmcsimCommandLine, SaysWhatCanBeSetFromTheStart)
{
    EXPECT_EQ(
        runBmcsim({"run", "--manager", "builtin", "--set", "usb=absent", "--",
                   "true"}),
        refusal(
            noBoard,
            "there is no 'usb' to set; there are security, security-offers, "
            "fwinfo, fwinfo-offers, host, board-id, settings, apply-time, "
            "cpld, cpld-bound, cpld-device, cpld-registry, cpld-version, "
            "manager, flash, flash-unit, flash-time, flash-timeout and bus"));
    EXPECT_EQ(runBmcsim({"run", "--manager", "builtin", "--set", "security=odd",
                         "--", "true"}),
              refusal(noBoard, "no behaviour 'odd'; there are normal, absent, "
                               "refuse, error, wrong-type, silent and slow"));
    EXPECT_EQ(runBmcsim({"run", "--manager", "builtin", "--set", "bus=slow",
                         "--", "true"}),
              refusal(noBoard, "no state of the bus 'slow'; there are gone"));
}

TEST(BmcsimCommandLine, SaysThatThereIsNoSimulatedBmc)
{
    EXPECT_EQ(runBmcsim({"set", "security", "refuse", "--dir", "/nonexistent"}),
              refusal(refused, "no simulated BMC runs in /nonexistent"));
}

TEST(BmcsimCommandLine, RefusesATemporaryDirectoryThatIsTooLongForSockets)
{
    const TemporaryDirectory directory;
    const auto deep = directory.file(std::string(90, 'x'));
    std::filesystem::create_directory(deep);

    EXPECT_EQ(runBmcsim({"run", "--", "true"}, {"TMPDIR=" + deep}),
              refusal(noBoard, "the path " + deep +
                                   " is too long for sockets; set TMPDIR to "
                                   "a shorter one"));
}

TEST(BmcsimCommandLine, HelpsWithAnExample)
{
    for (const std::string command : {"run", "set", "state", "scenarios"})
    {
        const auto help = runBmcsim({command, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_THAT(help.out, testing::HasSubstr("Example: wexa-bmcsim "));
    }
}

TEST(BmcsimCommandLine, PrintsItsVersion)
{
    EXPECT_EQ(
        runBmcsim({"--version"}),
        (Completed{0, "wexa-bmcsim " + fromEnvironment("WEXA_VERSION") + "\n",
                   ""}));
    EXPECT_THAT(runBmcsim({"--help"}).out, testing::HasSubstr("--version"));
}

TEST(BmcsimCommandLine, SaysThatItsScenariosAreMissing)
{
    const TemporaryDirectory alone;
    const auto program = alone.file("bin/wexa-bmcsim");
    std::filesystem::create_directory(alone.file("bin"));
    std::filesystem::copy_file(fromEnvironment("WEXA_BMCSIM"), program);
    const auto why = "cannot read the scenarios in " +
                     alone.file("share/wexa-bmcsim/scenarios") +
                     ": No such file or directory; install them there, or "
                     "name a file";
    EXPECT_EQ(run({program, "scenarios"}), refusal(refused, why));
    EXPECT_EQ(run({program, "run", "--scenario", "healthy", "--", "true"}),
              usage(why));
}

} // namespace
