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
    EXPECT_EQ(fwmgr({}),
              refusal("a verb: upload, verify, update, components, monitor or "
                      "doctor is required"));
}

TEST_F(CommandLine, RefusesAnUnknownVerb)
{
    EXPECT_EQ(fwmgr({"flash"}),
              refusal("The following argument was not expected: flash"));
}

TEST_F(CommandLine, RefusesAnUnknownOption)
{
    EXPECT_EQ(fwmgr({"verify", "bmc", "image", "--fast"}),
              refusal("The following argument was not expected: --fast"));
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
    EXPECT_EQ(fwmgr({"verify", "bmc"}), refusal("IMAGE is required"));
}

TEST_F(CommandLine, RefusesAnInvalidTimeout)
{
    EXPECT_EQ(fwmgr({"update", "bmc", "image", "--timeout", "0"}),
              refusal("--timeout: Value 0 not in range 1 to 86400"));
    EXPECT_EQ(fwmgr({"update", "bmc", "image", "--timeout", "soon"}),
              refusal("--timeout: Value soon not in range 1 to 86400"));
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

TEST_F(CommandLine, RefusesAnEmptyAddressOfABus)
{
    EXPECT_EQ(fwmgr({"--bus", "", "components"}),
              refusal("--bus: is no address"));
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
