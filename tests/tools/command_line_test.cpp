// SPDX-License-Identifier: Apache-2.0
#include "../support/temporary_directory.hpp"
#include "tool_test.hpp"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <sstream>

using namespace test;
using testing::HasSubstr;

namespace
{

class CommandLine : public testing::Test
{
  protected:
    static Completed fwmgr(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), fromEnvironment("WEXA_FWMGR"));
        return run(arguments);
    }

    /** 24 lines of 80 characters, the shell's prompt on the last. */
    static bool fitsAScreen(const std::string& text)
    {
        std::istringstream lines(text);
        auto count = 0;
        for (std::string line; std::getline(lines, line); ++count)
        {
            if (line.size() > 80)
            {
                return false;
            }
        }
        return count < 24;
    }

    static Completed refusal(const std::string& what)
    {
        return test::refusal(wrongUsage, what, "see wexa-fwmgr --help");
    }
};

TEST_F(CommandLine, NeedsAVerb)
{
    EXPECT_EQ(fwmgr({}), refusal("a verb is required"));
}

TEST_F(CommandLine, RefusesAnUnknownVerb)
{
    EXPECT_EQ(fwmgr({"flash"}),
              refusal("The following argument was not expected: flash"));
}

TEST_F(CommandLine, RefusesAnUnknownOption)
{
    for (const std::string option : {"--fast", "--fast=1", "-x", "-json"})
    {
        EXPECT_EQ(
            fwmgr({"verify", "bmc", "image", option}),
            refusal("The following argument was not expected: " + option));
    }
}

TEST_F(CommandLine, RefusesAnAbbreviatedOption)
{
    for (const std::string option : {"--verb", "--no-w", "--time=1", "--hel"})
    {
        EXPECT_EQ(
            fwmgr({"update", "bmc", "image", option}),
            refusal("The following argument was not expected: " + option));
    }
}

TEST_F(CommandLine, RefusesAValueOfAFlag)
{
    EXPECT_EQ(fwmgr({"components", "--verbose=yes"}),
              refusal("The following argument was not expected: "
                      "--verbose=yes"));
}

TEST_F(CommandLine, RefusesAnOptionOfAnotherVerb)
{
    EXPECT_EQ(fwmgr({"components", "--timeout", "1"}),
              refusal("The following argument was not expected: --timeout"));
    EXPECT_EQ(fwmgr({"--timeout", "1", "update", "bmc", "image"}),
              refusal("The following argument was not expected: --timeout"));
}

TEST_F(CommandLine, RefusesAnOptionWithoutItsValue)
{
    EXPECT_EQ(fwmgr({"update", "bmc", "image", "--timeout"}),
              refusal("--timeout needs SECONDS"));
    EXPECT_EQ(fwmgr({"doctor", "--images="}),
              refusal("--images needs DIRECTORY"));
    EXPECT_EQ(fwmgr({"--bus", "", "components"}),
              refusal("--bus needs ADDRESS"));
}

TEST_F(CommandLine, RefusesTwoValuesOfAnOption)
{
    EXPECT_EQ(
        fwmgr({"verify", "cpld", "image", "--component", "A", "--component=B"}),
        refusal("--component is given twice"));
}

TEST_F(CommandLine, RefusesAWordTooMany)
{
    EXPECT_EQ(fwmgr({"doctor", "bmc", "image"}),
              refusal("The following argument was not expected: image"));
}

TEST_F(CommandLine, TakesWordsOnlyAfterTwoDashes)
{
    EXPECT_EQ(fwmgr({"verify", "--", "bmc", "--image"}),
              test::refusal(wrongUsage, "--image: No such file or directory",
                            "name an image file that can be read"));
}

TEST_F(CommandLine, RefusesAnUnknownKind)
{
    EXPECT_EQ(fwmgr({"verify", "psu", "image"}),
              refusal("KIND: psu not in {bmc,bios,cpld}"));
}

TEST_F(CommandLine, RefusesArgumentsThatDBusCannotCarry)
{
    const auto notUtf8 = [](const std::string& shown) {
        return test::refusal(wrongUsage,
                             "the argument '" + shown + "' is not UTF-8",
                             "D-Bus carries UTF-8 only: rename what it names");
    };
    EXPECT_EQ(fwmgr({"verify", "bmc", "/tmp/\xff"}), notUtf8(R"(/tmp/\xff)"));
    EXPECT_EQ(fwmgr({"verify", "cpld", "image", "--component", "MB\xc3"}),
              notUtf8(R"(MB\xc3)"));
    EXPECT_EQ(fwmgr({"components", "--bus=unix:path=/\x9b"}),
              notUtf8(R"(--bus=unix:path=/\x9b)"));
    EXPECT_EQ(fwmgr({"doctor", "--images", "\xed\xa0\x80"}),
              notUtf8(R"(\xed\xa0\x80)"));
}

TEST_F(CommandLine, NeedsTheComponentOfACpldImageAndOfNoOther)
{
    EXPECT_EQ(fwmgr({"verify", "cpld", "image"}),
              refusal("--component, which tells what the image is for, is "
                      "required"));
    EXPECT_EQ(fwmgr({"verify", "bmc", "image", "--component", "MB_CPLD"}),
              refusal("--component: is for cpld only; leave it out"));
}

TEST_F(CommandLine, NeedsAnImage)
{
    EXPECT_EQ(fwmgr({"verify"}), refusal("KIND is required"));
    EXPECT_EQ(fwmgr({"verify", "bmc"}), refusal("IMAGE is required"));
}

TEST_F(CommandLine, RefusesAnInvalidTimeout)
{
    for (const std::string value : {"0", "86401", "-1", "+5", "1.5", "0x10",
                                    "soon", "5 s", "99999999999999999999"})
    {
        const auto refused =
            refusal("--timeout: Value " + value + " not in range 1 to 86400");
        EXPECT_EQ(fwmgr({"update", "bmc", "image", "--timeout", value}),
                  refused);
        EXPECT_EQ(fwmgr({"update", "bmc", "image", "--timeout=" + value}),
                  refused);
    }
}

TEST_F(CommandLine, SaysThatTheBusCannotBeReached)
{
    const Images images;
    const auto unreachable = [](const std::string& what) {
        return test::refusal(callFailed, "cannot reach the bus " + what,
                             "start it, or name another with --bus");
    };
    for (const auto& [address, why] :
         {std::pair("unix:path=/nonexistent", "No such file or directory"),
          std::pair("nonsense", "Connection refused")})
    {
        EXPECT_EQ(fwmgr({"--bus", address, "verify", "bmc", images.bmc("1")}),
                  unreachable(std::string(address) + ": " + why));
    }
}

TEST_F(CommandLine, SaysThatABusSaysNothing)
{
    // It listens, and accepts no connection.
    const TemporaryDirectory directory;
    const auto path = directory.file("bus");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const auto listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address),
                   sizeof(address)),
              0);
    ASSERT_EQ(listen(listener, 1), 0);

    EXPECT_EQ(run({fromEnvironment("WEXA_FWMGR"), "components", "--bus",
                   "unix:path=" + path},
                  {"SYSTEMD_BUS_TIMEOUT=50ms"}),
              test::refusal(callFailed,
                            "cannot reach the bus unix:path=" + path +
                                ": Connection timed out",
                            "start it, or name another with --bus"));
    close(listener);
}

TEST_F(CommandLine, SaysThatABusIsAPipe)
{
    const TemporaryDirectory directory;
    const auto path = directory.file("pipe");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);

    EXPECT_EQ(fwmgr({"components", "--bus", "unix:path=" + path}),
              test::refusal(callFailed,
                            "cannot reach the bus unix:path=" + path +
                                ": Connection refused",
                            "start it, or name another with --bus"));
}

TEST_F(CommandLine, NamesTheAddressOfASystemBusThatCannotBeReached)
{
    EXPECT_EQ(run({fromEnvironment("WEXA_FWMGR"), "components"},
                  {"DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent"}),
              test::refusal(callFailed,
                            "cannot reach the system bus "
                            "unix:path=/nonexistent: No such file or directory",
                            "start it, or name another with --bus"));
}

TEST_F(CommandLine, NamesTheAddressThatTheSystemBusHasUnlessGiven)
{
    SKIP_WITHOUT_MOUNTS();
    // Where no system bus can be: in a mount namespace of the test's own.
    EXPECT_EQ(run({"unshare", "--mount", "sh", "-c",
                   "mount -t tmpfs none /run && unset DBUS_SYSTEM_BUS_ADDRESS "
                   "&& exec \"$0\" components",
                   fromEnvironment("WEXA_FWMGR")}),
              test::refusal(callFailed,
                            "cannot reach the system bus "
                            "unix:path=/run/dbus/system_bus_socket: No such "
                            "file or directory",
                            "start it, or name another with --bus"));
}

TEST_F(CommandLine, NamesTheBusByItsAddress)
{
    const Simulation bmc;
    const Images images;
    const auto image = images.bmc("1");

    EXPECT_EQ(fwmgr({"--bus", bmc.busAddress(), "verify", "bmc", image}),
              (Completed{0, image + ": authentic BMC image\n", ""}));
}

TEST_F(CommandLine, RefusesOptionsThatExcludeEachOther)
{
    EXPECT_EQ(fwmgr({"update", "bmc", "image", "--no-wait", "--dry-run"}),
              refusal("--dry-run excludes --no-wait"));
    EXPECT_EQ(fwmgr({"update", "bmc", "image", "--timeout", "1", "--no-wait"}),
              refusal("--no-wait excludes --timeout"));
}

TEST_F(CommandLine, TellsItsVersion)
{
    EXPECT_EQ(
        fwmgr({"--version"}),
        (Completed{0, "wexa-fwmgr " + fromEnvironment("WEXA_VERSION") + "\n",
                   ""}));
}

TEST_F(CommandLine, HelpsWithWhatAVerbTakes)
{
    const Completed help{
        0,
        "Have an image verified, flash it and wait for the end\n"
        "Usage: wexa-fwmgr update [OPTIONS] KIND IMAGE\n"
        "  KIND               Kind of firmware: bmc, bios, cpld\n"
        "  IMAGE              Path of the image file\n"
        "  --component NAME   Component of the board that a CPLD image is "
        "for\n"
        "  --dry-run          Show the unit that would be started; do nothing\n"
        "  --no-verify        Flash without verification, even if not "
        "authentic\n"
        "  --no-wait          End when the flash is started\n"
        "  --timeout SECONDS  Wait so long for the end, 1 to 86400; 600 unless "
        "given\n"
        "Only one of --dry-run, --no-wait, --timeout\n"
        "\n"
        "Example: wexa-fwmgr update cpld /tmp/image --component MB_CPLD\n"
        "With every verb: --bus ADDRESS, --json, --trace, --verbose\n"
        "See wexa-fwmgr --help for what they do, man wexa-fwmgr for all else\n",
        ""};
    EXPECT_EQ(fwmgr({"update", "--help"}), help);
    EXPECT_EQ(fwmgr({"update", "-h"}), help);
    EXPECT_EQ(fwmgr({"update", "bmc", "image", "--help"}), help);
    EXPECT_EQ(fwmgr({"--help", "update"}), help);
    EXPECT_EQ(fwmgr({"-h", "--json", "update", "bmc"}), help);
}

TEST_F(CommandLine, HelpsOnAScreenWithAnExampleForEachVerb)
{
    for (const std::string verb :
         {"upload", "verify", "update", "components", "monitor", "doctor"})
    {
        const auto help = fwmgr({verb, "--help"});
        EXPECT_EQ(help.status, 0);
        EXPECT_EQ(help.err, "");
        EXPECT_THAT(help.out, HasSubstr("\nExample: wexa-fwmgr " + verb));
        EXPECT_TRUE(fitsAScreen(help.out)) << help.out;
    }
    EXPECT_TRUE(fitsAScreen(fwmgr({"--help"}).out));
}

} // namespace
