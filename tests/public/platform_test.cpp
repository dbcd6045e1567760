// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/forger.hpp"
#include "../support/images.hpp"
#include "../support/private_bus.hpp"
#include "../support/rights.hpp"
#include "../support/simulation.hpp"
#include "../support/temporary_directory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <regex>
#include <stdexcept>

// The bus policy and the unit that a platform gives to its daemon. The unit
// runs without what needs a mount namespace, which a simulated BMC has not.

using namespace test;
using namespace std::string_literals;
using testing::HasSubstr;

namespace
{

std::string packaged(const std::string& file)
{
    return fromEnvironment("WEXA_SOURCES") + "/packaging/" + file;
}

/** What a bus allows to all where a policy does not say otherwise. */
const std::string nothingAsTheSystemBus = R"(
    <deny own="*"/>
    <deny send_type="method_call"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>)";
const std::string everything = R"(
    <allow own="*"/>
    <allow send_destination="*"/>)";

/** The socket for the log of dbus-broker's launcher, which does not start
 *  without one.
 */
class LogSocket
{
  public:
    explicit LogSocket(const std::string& path) :
        number(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        if (bind(number, reinterpret_cast<const sockaddr*>(&address),
                 sizeof(address)) != 0)
        {
            throw std::runtime_error("cannot make " + path);
        }
    }

    ~LogSocket()
    {
        close(number);
    }

    LogSocket(const LogSocket&) = delete;
    LogSocket& operator=(const LogSocket&) = delete;

  private:
    int number;
};

/** A bus with our policy after another. */
class BusWithPolicy
{
  public:
    /** @param program  "dbus-daemon" or "dbus-broker" */
    explicit BusWithPolicy(const std::string& allowed,
                           const std::string& program = "dbus-daemon")
    {
        const auto configuration = directory.file("bus.conf");
        writeBytes(configuration, R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>)" + address() + R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>)" + allowed + R"(
    <allow send_type="signal"/>
    <allow receive_type="method_call"/>
    <allow receive_type="method_return"/>
    <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus"/>
  </policy>
  <policy user="root">
    <allow own="org.freedesktop.systemd1"/>
    <allow send_destination="org.freedesktop.systemd1"/>
    <allow own="com.wexa.Simulator"/>
    <allow send_destination="com.wexa.Simulator"/>
  </policy>
  <include>)" + packaged("dbus/com.WEXA.FirmwareManager.conf") +
                                      R"(</include>
</busconfig>
)");
        start(program, configuration);
        std::filesystem::permissions(directory.path(),
                                     std::filesystem::perms(0711));
        std::filesystem::permissions(directory.file("bus"),
                                     std::filesystem::perms(0666));
    }

    std::string address() const
    {
        return "unix:path=" + directory.file("bus");
    }

  private:
    void start(const std::string& program, const std::string& configuration)
    {
        if (program == "dbus-daemon")
        {
            daemon = std::make_unique<Process>(std::vector<std::string>{
                "dbus-daemon", "--nofork", "--config-file=" + configuration,
                "--print-address=1"});
            daemon->awaitOutput("\n");
            return;
        }
        const auto log = directory.file("log");
        journal = std::make_unique<LogSocket>(log);
        daemon = std::make_unique<Process>(
            std::vector<std::string>{
                "unshare", "--mount", "sh", "-c",
                "mount -t tmpfs tmpfs /run && mkdir -p /run/systemd/journal && "
                "touch /run/systemd/journal/socket && "
                "mount --bind \"$0\" /run/systemd/journal/socket && "
                "exec systemd-socket-activate --listen=\"$1\" "
                "--setenv=DBUS_SYSTEM_BUS_ADDRESS dbus-broker-launch "
                "--scope=system --config-file=\"$2\"",
                log, directory.file("bus"), configuration},
            std::vector<std::string>{"DBUS_SYSTEM_BUS_ADDRESS=" + address()});
        // The socket is there a moment before it listens.
        awaitTrue("a bus that lets connect", [this] {
            try
            {
                connectTo(address());
                return true;
            }
            catch (const std::runtime_error&)
            {
                return false;
            }
        });
    }

    TemporaryDirectory directory;
    std::unique_ptr<LogSocket> journal;
    std::unique_ptr<Process> daemon;
};

bool isInstalled(const std::string& program)
{
    return run({"sh", "-c", "command -v \"$0\"", program}).status == 0;
}

class OnBus : public testing::TestWithParam<std::string>
{
  protected:
    void SetUp() override
    {
        if (GetParam() == "dbus-broker")
        {
            if (!isInstalled("dbus-broker-launch"))
            {
                GTEST_SKIP() << "dbus-broker-launch is not installed";
            }
            SKIP_WITHOUT_MOUNTS();
        }
    }
};

std::string busName(const testing::TestParamInfo<std::string>& row)
{
    return row.param == "dbus-daemon" ? "OnDbusDaemon" : "OnDbusBroker";
}

class Policy : public OnBus
{
  protected:
    /** `busctl call` by a user who is not root. */
    Completed callAsAnother(const std::vector<std::string>& words) const
    {
        std::vector<std::string> command{
            "setpriv",       "--reuid=65534",
            "--regid=65534", "--clear-groups",
            "busctl",        "--address=" + bus().address(),
            "call"};
        command.insert(command.end(), words.begin(), words.end());
        return run(command);
    }

    void SetUp() override
    {
        SKIP_WITHOUT_OTHER_USERS();
        OnBus::SetUp();
        if (!IsSkipped())
        {
            started = std::make_unique<BusWithPolicy>(everything, GetParam());
        }
    }

    const BusWithPolicy& bus() const
    {
        return *started;
    }

  private:
    std::unique_ptr<BusWithPolicy> started;
};

INSTANTIATE_TEST_SUITE_P(Buses, Policy,
                         testing::Values("dbus-daemon", "dbus-broker"),
                         busName);

class PolicyOfTheSystemBus : public OnBus
{
  protected:
    void SetUp() override
    {
        SKIP_BECAUSE(geteuid() == 0 ? ""
                                    : "needs root, the only user to whom the "
                                      "policy gives the names");
        OnBus::SetUp();
    }
};

INSTANTIATE_TEST_SUITE_P(Buses, PolicyOfTheSystemBus,
                         testing::Values("dbus-daemon", "dbus-broker"),
                         busName);

TEST_P(PolicyOfTheSystemBus, LetsTheDaemonFlash)
{
    const BusWithPolicy bus(nothingAsTheSystemBus, GetParam());
    const Simulation bmc({"--bus", bus.address()});
    const Images images;
    const auto image = images.bmc("2.14.0");
    const auto handled = bmc.run({fromEnvironment("WEXA_DAEMON"), image});

    EXPECT_EQ(handled.status, 0);
    EXPECT_EQ(handled.err, "");
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

const std::vector<std::string> names{"com.WEXA.FirmwareManager",
                                     "com.WEXA.Host",
                                     "xyz.openbmc_project.CpldUpdateMgrSvc",
                                     "xyz.openbmc_project.FwInfoManager",
                                     "xyz.openbmc_project.SecurityManager",
                                     "xyz.openbmc_project.Settings"};
const Completed refused{1, "", "Call failed: Access denied\n"};

TEST_P(Policy, LetsNoOtherUserBeAServiceOrTheDaemon)
{
    const auto asked = [&](const std::string& name) {
        return callAsAnother({"org.freedesktop.DBus", "/org/freedesktop/DBus",
                              "org.freedesktop.DBus", "RequestName", "su", name,
                              "4"});
    };
    for (const auto& name : names)
    {
        EXPECT_EQ(asked(name), refused) << name;
    }
    EXPECT_EQ(asked("com.example.Other"), (Completed{0, "u 1\n", ""}));
}

TEST_P(Policy, LetsNoOtherUserCallAServiceOrTheDaemon)
{
    const auto asked = [&](const std::string& name) {
        return callAsAnother({name, "/", "org.freedesktop.DBus.Peer", "Ping"});
    };
    for (const auto& name : names)
    {
        const auto service = connectTo(bus().address());
        check(sd_bus_request_name(service.get(), name.c_str(), 0), "name");
        EXPECT_EQ(asked(name), refused) << name;
    }
    EXPECT_THAT(asked("com.example.Other").err,
                HasSubstr(GetParam() == "dbus-daemon"
                              ? "was not provided by any .service files"
                              : "The name is not activatable"));
}

TEST_P(Policy, LetsRootAloneTellOfJobsAndOwners)
{
    const auto hearer = connectTo(bus().address());
    std::vector<std::string> heard;
    const auto note = [](sd_bus_message* signal, void* members, sd_bus_error*) {
        if (sd_bus_message_get_sender(signal) != "org.freedesktop.DBus"s)
        {
            static_cast<std::vector<std::string>*>(members)->emplace_back(
                sd_bus_message_get_member(signal));
        }
        return 0;
    };
    check(sd_bus_match_signal(hearer.get(), nullptr, nullptr, nullptr, nullptr,
                              "JobRemoved", nullptr, nullptr),
          "match");
    check(sd_bus_add_filter(hearer.get(), nullptr, note, &heard), "filter");

    auto other = forgedJobNew("any");
    other.interface = "com.example.Other";
    other.member = "Other";
    forge(bus().address(),
          {forgedJobRemoved("any", "done"), forgedJobNew("any"),
           forgedNameOwnerChanged("a.b", "", ":1.1"), other});
    check(sd_bus_emit_signal(connectTo(bus().address()).get(),
                             "/org/freedesktop/systemd1",
                             "org.freedesktop.systemd1.Manager", "JobRemoved",
                             "uoss", 1U, "/job", "any", "done"),
          "JobRemoved");
    processUntil(hearer.get(), [&] { return heard.size() >= 2; });
    EXPECT_EQ(heard, (std::vector{"Other"s, "JobRemoved"s}));
}

/** The unit, with the documents' daemon for its program. */
std::string unitThatFlashes(const std::string& image)
{
    return std::regex_replace(
        bytesOf(packaged("systemd/firmware-manager.service")),
        std::regex("ExecStart=.*"),
        "ExecStart=" + fromEnvironment("WEXA_DAEMON") + ' ' + image);
}

TEST(Unit, IsUnderstoodBySystemdAndExposesLittle)
{
    const TemporaryDirectory directory;
    const auto file = directory.file("firmware-manager.service");
    writeBytes(file, unitThatFlashes("/run/images/bmc"));
    // It tells of the host's own units as well.
    EXPECT_THAT(run({"systemd-analyze", "verify", "--man=no", file}).err,
                testing::Not(HasSubstr("firmware-manager.service")));
    EXPECT_EQ(run({"systemd-analyze", "security", "--offline=yes",
                   "--threshold=15", "--no-pager", file})
                  .status,
              0);
}

/** Has the systemd of a simulated BMC start the daemon. */
void start(const Simulation& bmc, const std::string& image)
{
    auto unit =
        std::regex_replace(unitThatFlashes(image),
                           std::regex("\n(Private|Proc|Protect)[^\n]*"), "");
    unit.insert(unit.find("\n[Service]"), "\nDefaultDependencies=no\n");
    unit.insert(unit.find("\nUMask"),
                "\nEnvironment=DBUS_SYSTEM_BUS_ADDRESS=" + bmc.busAddress() +
                    " DBUS_STARTER_BUS_TYPE=system");
    bmc.replaceUnit("firmware-manager.service", unit);
    const auto started =
        bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                  "org.freedesktop.systemd1.Manager", "StartUnit", "ss",
                  "firmware-manager.service", "replace"});
    EXPECT_EQ(started.status, 0) << started.err;
}

TEST(Unit, LeavesTheDaemonTheRightsToFlash)
{
    SKIP_WITHOUT_SYSTEMD();
    // The unit is without the right to pass closed folders.
    SKIP_WITHOUT_OTHER_USERS_OF_THE_BUILD();
    const BusWithPolicy bus(nothingAsTheSystemBus);
    const Simulation bmc({"--bus", bus.address()});
    const Images images;
    const auto image = images.bmc("2.14.0");
    start(bmc, image);
    bmc.awaitFlashed("bmc", bytesOf(image));
}

TEST(Unit, DoesNotFlashAgainWhereTheFlashFailed)
{
    SKIP_WITHOUT_SYSTEMD();
    // The unit is without the right to pass closed folders.
    SKIP_WITHOUT_OTHER_USERS_OF_THE_BUILD();
    const BusWithPolicy bus(nothingAsTheSystemBus);
    const Simulation bmc({"--bus", bus.address(), "--set", "flash=fail"});
    const Images images;
    start(bmc, images.bmc("2.14.0"));
    const auto property = [&](const std::string& type,
                              const std::string& name) {
        return bmc
            .call({"org.freedesktop.systemd1",
                   "/org/freedesktop/systemd1/unit/"
                   "firmware_2dmanager_2eservice",
                   "org.freedesktop.DBus.Properties", "Get", "ss",
                   "org.freedesktop.systemd1." + type, name})
            .out;
    };
    awaitTrue("the end of the daemon", [&] {
        return property("Unit", "ActiveState") == "v s \"failed\"\n";
    });
    EXPECT_EQ(property("Service", "ExecMainStatus"), "v i 1\n");
    EXPECT_EQ(property("Service", "NRestarts"), "v u 0\n");
}

} // namespace
