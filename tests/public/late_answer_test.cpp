// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/images.hpp"
#include "../support/private_bus.hpp"
#include "../support/scripted_service.hpp"
#include "../support/security_manager.hpp"
#include "../support/simulation.hpp"
#include "../support/transcript.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

// The documents' daemon launches a flash, and systemd does not answer: it fell
// silent, or left, while the image was verified.

using namespace test;

namespace
{

class LaunchWithoutAnswer : public testing::Test
{
  protected:
    /** The daemon, with both streams in one; `set manager` to this while the
     *  security manager verifies. Its patience is in seconds.
     */
    std::unique_ptr<Process> daemon(const std::string& manager,
                                    const std::string& patience = "600")
    {
        const auto verify = [this, manager](sd_bus_message* call) {
            bmc.set("manager", manager);
            reply::boolean(true)(call);
        };
        security = std::make_unique<ScriptedService>(
            bus, transcript, security_manager::service,
            std::vector{security_manager::method("verifyBmc", verify)});
        auto environment = bmc.environment();
        environment.emplace_back("SYSTEMD_BUS_TIMEOUT=4s");
        return std::make_unique<Process>(
            std::vector<std::string>{"sh", "-c", "exec \"$0\" \"$@\" 2>&1",
                                     fromEnvironment("WEXA_DAEMON"), image,
                                     patience},
            environment);
    }

    PrivateBus bus;
    Simulation bmc{{"--bus", bus.address(), "--set", "security=absent"}};
    Images images;
    std::string image = images.bmc("2.14.0");
    Transcript transcript;
    std::unique_ptr<ScriptedService> security;
};

constexpr auto failedLaunch = "Error in trying to upgrade bmc-rot2: "
                              "sd_bus_call: ";
constexpr auto notKnown = "daemon: not known whether it flashed: "
                          "sd_bus_call: ";

TEST_F(LaunchWithoutAnswer, IsASuccessWhereSystemdStartsTheFlashLater)
{
    const auto running = daemon("silent");
    running->awaitOutput(
        std::string(failedLaunch) +
        "org.freedesktop.DBus.Error.Timeout: Connection timed out\n");
    EXPECT_FALSE(std::filesystem::exists(bmc.directory() + "/flash/bmc"));
    bmc.set("manager", "normal");

    EXPECT_EQ(running->wait().status, 0);
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(LaunchWithoutAnswer, IsUnknownWhereSystemdComesBackWithoutTheUnit)
{
    const auto running = daemon("absent");
    running->awaitOutput(
        std::string(failedLaunch) +
        bus.program().serviceUnknown("org.freedesktop.systemd1") + '\n');
    bmc.set("manager", "normal");
    const auto ended = running->wait();

    EXPECT_EQ(ended.status, 3);
    EXPECT_THAT(ended.out,
                testing::HasSubstr(std::string(notKnown) +
                                   "org.freedesktop.systemd1.NoSuchUnit: "));
    EXPECT_FALSE(std::filesystem::exists(bmc.directory() + "/flash/bmc"));
}

TEST_F(LaunchWithoutAnswer, IsUnknownWhereSystemdDoesNotComeBack)
{
    const auto ended = daemon("absent", "0")->wait();
    const auto why =
        bus.program().serviceUnknown("org.freedesktop.systemd1") + '\n';

    EXPECT_EQ(ended.status, 3);
    EXPECT_THAT(ended.out,
                testing::EndsWith(failedLaunch + why + notKnown + why));
}

} // namespace
