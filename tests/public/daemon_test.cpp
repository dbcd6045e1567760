// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/images.hpp"
#include "../support/rights.hpp"
#include "../support/simulation.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

using namespace test;
using testing::EndsWith;
using testing::HasSubstr;

namespace
{

class Daemon : public testing::Test
{
  protected:
    Completed handle(const std::string& image) const
    {
        return bmc.run({fromEnvironment("WEXA_DAEMON"), image});
    }

    /** A flash of this image runs from now on, by another program. */
    void startFlash(const std::string& image) const
    {
        const auto started =
            bmc.run({"wexa-fwmgr", "update", "bmc", image, "--no-wait"});
        ASSERT_EQ(started.status, 0) << started.err;
    }

    Simulation bmc;
    Images images;
};

std::string unitOf(std::string image)
{
    std::ranges::replace(image, '/', '-');
    return R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)" + image + ".service";
}

/** The code blocks of a document. */
std::vector<std::string> codeIn(const std::string& document)
{
    std::vector<std::string> blocks;
    const std::string opening = "```cpp\n";
    for (auto at = document.find(opening); at != document.npos;
         at = document.find(opening, at))
    {
        at += opening.size();
        blocks.push_back(document.substr(at, document.find("```", at) - at));
    }
    return blocks;
}

TEST(Document, ShowsTheDaemonAsItIsCompiled)
{
    const auto sources = fromEnvironment("WEXA_SOURCES");
    const auto withoutLicense = [&](const std::string& file) {
        const auto source = bytesOf(sources + "/tests/public/" + file);
        return source.substr(source.find('\n') + 1);
    };
    EXPECT_THAT(codeIn(bytesOf(sources + "/docs/daemon-authors.md")),
                testing::ElementsAre(withoutLicense("daemon.cpp"),
                                     withoutLicense("flash_unit.hpp")));
}

TEST_F(Daemon, TakesAnImageFromUploadToTheEndOfItsFlash)
{
    const auto image = images.bmc("2.14.0");
    const auto handled = handle(image);

    EXPECT_EQ(handled.status, 0);
    EXPECT_EQ(handled.err, "");
    EXPECT_THAT(handled.out, EndsWith("void wexa::core::FWManagerInternal::"
                                      "onBMCUpdateSuccess()\n"));
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(Daemon, EndsWithTwoWithoutAnImage)
{
    const Completed usage{2, "", "usage: daemon IMAGE [SECONDS]\n"};
    const auto daemon = fromEnvironment("WEXA_DAEMON");
    EXPECT_EQ(bmc.run({daemon}), usage);
    EXPECT_EQ(bmc.run({daemon, "a", "b"}), usage);
    EXPECT_EQ(bmc.run({daemon, "a", "5s"}), usage);
    EXPECT_EQ(bmc.run({daemon, "a", "-5"}), usage);
    EXPECT_EQ(bmc.run({daemon, "a", "5", "c"}), usage);
}

TEST_F(Daemon, EndsWithOneWhereTheImageIsRefused)
{
    const auto image = images.make("forged", {"--kind", "bmc", "--version",
                                              "2.14.0", "--broken", "digest"});
    const auto handled = handle(image);

    EXPECT_EQ(handled.status, 1);
    EXPECT_EQ(handled.err, "Error !! VerifyBMC failed. image: " + image + "\n");
}

TEST_F(Daemon, EndsWithOneWhereTheFlashFails)
{
    bmc.set("flash", "fail");
    const auto handled = handle(images.bmc("2.14.0"));

    EXPECT_EQ(handled.status, 1);
    EXPECT_EQ(handled.err, "");
}

TEST_F(Daemon, EndsWithOneWhereTheJobIsDoneAndNothingIsFlashed)
{
    bmc.set("flash", "fail");
    for (const auto* const unit : {"condition", "ignored-failure", "simple"})
    {
        bmc.set("flash-unit", unit);
        const auto handled = handle(images.bmc("2.14.0"));

        EXPECT_EQ(handled.status, 1) << unit;
        EXPECT_EQ(handled.err, "") << unit;
        EXPECT_THAT(handled.out, HasSubstr("done\n")) << unit;
    }
}

TEST_F(Daemon, EndsWithOneWhereTheFlashIsStopped)
{
    bmc.set("flash", "hang");
    const auto image = images.bmc("2.14.0");
    Process daemon({fromEnvironment("WEXA_DAEMON"), image}, bmc.environment());
    bmc.awaitFlash("bmc");
    bmc.call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
              "org.freedesktop.systemd1.Manager", "StopUnit", "ss",
              unitOf(image), "replace"});
    const auto handled = daemon.wait();

    EXPECT_EQ(handled.status, 1);
    EXPECT_EQ(handled.err, "");
    EXPECT_THAT(handled.out, HasSubstr("canceled\n"));
}

TEST_F(Daemon, EndsWithOneWhereSystemdIsAbsent)
{
    bmc.set("manager", "absent");
    EXPECT_EQ(handle(images.bmc("2.14.0")),
              (Completed{1, "",
                         "daemon: sd_bus_call: org.freedesktop.DBus.Error."
                         "NameHasNoOwner: Could not get owner of name "
                         "'org.freedesktop.systemd1': no such name\n"}));
}

class DaemonOnManager : public testing::TestWithParam<const char*>
{
  protected:
    void SetUp() override
    {
        SKIP_WITHOUT_MANAGER(GetParam());
    }

    Simulation bmc{{"--manager", rights::managerOr(GetParam())}};
    Images images;
};

INSTANTIATE_TEST_SUITE_P(Managers, DaemonOnManager,
                         testing::Values("systemd", "builtin"),
                         [](const auto& row) {
                             return std::string(row.param);
                         });

TEST_F(Daemon, AwaitsTheFlashWhileSystemdExecutesItselfAnew)
{
    if (bmc.state()["manager"]["kind"] != "systemd")
    {
        GTEST_SKIP() << rights::missingForSystemd();
    }
    bmc.set("flash", "hang");
    const auto image = images.bmc("2.14.0");
    Process daemon({fromEnvironment("WEXA_DAEMON"), image}, bmc.environment());
    bmc.awaitFlash("bmc");
    const std::vector<std::string> manager{"org.freedesktop.systemd1",
                                           "/org/freedesktop/systemd1",
                                           "org.freedesktop.systemd1.Manager"};
    const auto call = [&](const std::vector<std::string>& words) {
        auto all = manager;
        all.insert(all.end(), words.begin(), words.end());
        return bmc.call(all).status;
    };
    EXPECT_NE(call({"Reexecute"}), 0);
    awaitTrue("that systemd is back", [&] { return call({"Reload"}) == 0; });
    EXPECT_EQ(call({"StopUnit", "ss", unitOf(image), "replace"}), 0);
    const auto handled = daemon.wait();

    EXPECT_EQ(handled.status, 1);
    EXPECT_EQ(handled.err, "");
    EXPECT_THAT(handled.out, HasSubstr("canceled\n"));
}

TEST_P(DaemonOnManager, EndsWithThreeWhereSystemdHasForgottenTheFlash)
{
    bmc.set("flash", "hang");
    const auto image = images.bmc("2.14.0");
    Process daemon({fromEnvironment("WEXA_DAEMON"), image}, bmc.environment());
    bmc.awaitFlash("bmc");
    bmc.set("manager", "absent");
    bmc.set("manager", "normal");
    const auto handled = daemon.wait();

    EXPECT_EQ(handled.status, 3);
    EXPECT_EQ(handled.err, "daemon: not known whether it flashed: sd_bus_call: "
                           "org.freedesktop.systemd1.NoSuchUnit: Unit " +
                               unitOf(image) + " not loaded.\n");
}

TEST_F(Daemon, StartsNothingWhileAnotherImageIsFlashedIntoTheDevice)
{
    bmc.set("flash", "hang");
    startFlash(images.make("other", {"--kind", "bmc", "--version", "1"}));
    EXPECT_EQ(handle(images.bmc("2.14.0")),
              (Completed{1, "", "daemon: another image is being flashed\n"}));
}

TEST_F(Daemon, IsTheOnlyOne)
{
    bmc.set("flash", "hang");
    const Process first({fromEnvironment("WEXA_DAEMON"), images.bmc("2.14.0")},
                        bmc.environment());
    bmc.awaitFlash("bmc");
    EXPECT_EQ(handle(images.missing()),
              (Completed{1, "", "daemon: another daemon runs already\n"}));
}

} // namespace
