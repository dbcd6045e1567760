// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/private_bus.hpp"
#include "../support/rights.hpp"
#include "../support/simulation.hpp"
#include "../support/transcript.hpp"
#include "flash_units.hpp"
#include "site_words.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

// What a real systemd says of flash units of all sorts, and what the library
// makes of it, for each kind of firmware and through each handler. That a job
// is done does not mean that something was flashed.

using namespace test;

namespace
{

namespace fs = std::filesystem;

struct Kind
{
    std::string name;
    std::string unitTemplate;
    std::string words;
    int (*update)(Manager&, const std::string& imagePath,
                  const std::string& component);

    Events (*announcement)(const std::string& imagePath,
                           const std::string& unit);

    /** The line that reports a failure: "{}" stands for its text. */
    std::string failure;

    /** systemd's answer is no boolean, which CPLD launches expect. */
    bool failsWithAJob = false;
};

const Kind bmc{
    "Bmc",
    "obmc-flash-bmc-rot2@",
    R"(bmc_rot2\x20update\x20)",
    [](Manager& manager, const std::string& path, const std::string&) {
        return manager.UpdateBMC(path, VersionPurpose::BMC, "");
    },
    [](const std::string& path, const std::string& unit) {
        return Events{out("flashWrite bmc-rot2 start."),
                      out("image_path: " + path),
                      out("bmcServiceFile: " + unit)};
    },
    "Error in trying to upgrade bmc-rot2: {}",
};
const Kind bios{
    "Bios",
    "obmc-flash-host-bios@",
    R"(bios_rot2\x20update\x20)",
    [](Manager& manager, const std::string& path, const std::string&) {
        return manager.UpdateBIOS(path, VersionPurpose::Host, "");
    },
    [](const std::string& path, const std::string&) {
        return Events{out("flashWriteBios: " + path)};
    },
    "Error in trying to upgrade Host Bios: {}",
};
const Kind cpld{
    "Cpld",
    "obmc-flash-bmc-rot2@",
    R"(cpld_rot2\x20update\x20)",
    [](Manager& manager, const std::string& path,
       const std::string& component) {
        return manager.UpdateCPLD(path, VersionPurpose::Host, component);
    },
    [](const std::string& path, const std::string&) {
        return Events{signature("UpdateCPLD"),
                      out("flashWrite cpld-rot2 start."),
                      out("compoment: MB, image_path: " + path)};
    },
    "Error in trying to upgrade cpld_rot2: {}",
    true,
};

struct Row
{
    Kind kind;
    Flash flash;
};

void PrintTo(const Row& row, std::ostream* stream)
{
    *stream << row.kind.name << ' ' << row.flash.name;
}

class FlashUnderSystemd : public testing::TestWithParam<Row>
{
  protected:
    static void SetUpTestSuite()
    {
        board = std::make_unique<Simulation>();
        if (rights::missingForSystemd().empty())
        {
            board->replaceUnit("broken.service",
                               oneshot("ExecStart=/bin/false"));
        }
    }

    static void TearDownTestSuite()
    {
        EXPECT_EQ(board->end().status, 128 + SIGTERM);
        board.reset();
    }

    FlashUnderSystemd()
    {
        check(sd_bus_match_signal(raw.get(), nullptr, nullptr, nullptr, systemd,
                                  "JobRemoved", heard, this),
              "sd_bus_match_signal");
        // As the daemon does: else only the ends of its own jobs are told.
        check(sd_bus_call_method(raw.get(), "org.freedesktop.systemd1",
                                 "/org/freedesktop/systemd1", systemd,
                                 "Subscribe", nullptr, nullptr, nullptr),
              "Subscribe");
    }

    void SetUp() override
    {
        SKIP_WITHOUT_SYSTEMD();
        installUnit();
    }

    ~FlashUnderSystemd() override
    {
        board->call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                     systemd, "ResetFailed"});
        fs::remove(flashed);
        fs::remove(gate);
        if (flash.isMasked)
        {
            fs::remove(unitFile(unit()));
        }
    }

    static std::string unitFile(const std::string& name)
    {
        return board->directory() + "/units/" + name;
    }

    /** The name that the library must give the unit. */
    std::string unit() const
    {
        auto path = flash.imagePath;
        std::ranges::replace(path, '/', '-');
        return kind.unitTemplate + kind.words +
               (kind.name == "Cpld" ? R"(MB\x20)" : "") + path + ".service";
    }

    void installUnit()
    {
        const auto file = kind.unitTemplate + ".service";
        if (flash.unit.empty())
        {
            fs::remove(unitFile(file));
            board->reloadUnits();
        }
        else
        {
            board->replaceUnit(file, filled(flash.unit, flashed));
        }
        if (flash.isMasked)
        {
            fs::create_symlink("/dev/null", unitFile(unit()));
            board->reloadUnits();
        }
    }

    /** The end of a flash's job, for every handler: each tells the same. */
    static int heard(sd_bus_message* signal, void* test, sd_bus_error*)
    {
        static_cast<FlashUnderSystemd*>(test)->onJobRemoved(signal);
        return 0;
    }

    void onJobRemoved(sd_bus_message* signal)
    {
        // The namespace of object_path depends on the release of sdbusplus.
        using namespace sdbusplus;
        using namespace sdbusplus::message;

        message_t message{signal};
        std::uint32_t id{};
        object_path path;
        std::string ended;
        std::string result;
        message.read(id, path, ended, result);
        if (!ended.starts_with("obmc-flash") || ended.ends_with(".slice"))
        {
            return;
        }
        events();
        for (const auto handler :
             {&Manager::onBMCStateChange, &Manager::onBIOSStateChange,
              &Manager::onCPLDStateChange})
        {
            check(sd_bus_message_rewind(signal, 1), "sd_bus_message_rewind");
            EXPECT_EQ((manager.*handler)(message), result == "done" ? 1 : 2);
            EXPECT_EQ(events(),
                      (std::vector{out(std::to_string(id)), out(path.str),
                                   out(unit()), out(result),
                                   out("serviceFile: " + unit())}));
        }
        results.push_back(result);
    }

    /** Waits for the ends of `count` jobs, and a moment for more. */
    void awaitEnds(std::size_t count)
    {
        processUntil(raw.get(), [&] { return results.size() >= count; });
        constexpr std::uint64_t moment = 50'000;
        while (check(sd_bus_process(raw.get(), nullptr), "sd_bus_process") >
                   0 ||
               check(sd_bus_wait(raw.get(), moment), "sd_bus_wait") > 0)
        {
        }
    }

    std::vector<std::string> events()
    {
        return transcript.events();
    }

    void disturb()
    {
        switch (flash.meanwhile)
        {
            case Meanwhile::nothing:
                return;
            case Meanwhile::stop:
                board->call({"org.freedesktop.systemd1",
                             "/org/freedesktop/systemd1", systemd, "StopUnit",
                             "ss", unit(), "replace"});
                return;
            case Meanwhile::startAgain:
                EXPECT_EQ(launch(), kind.failsWithAJob ? -5 : 0);
                return;
            case Meanwhile::reload:
                board->reloadUnits();
        }
    }

    int launch()
    {
        return kind.update(manager, flash.imagePath, "MB");
    }

    /** The failure that a launch logs; empty where it starts a job. */
    std::string expectedFailure() const
    {
        if (!flash.refusal.empty())
        {
            return "sd_bus_call: " + filled(flash.refusal, unit());
        }
        return kind.failsWithAJob ? "sd_bus_message_read_basic bool: "
                                    "System.Error.ENXIO: No such device or "
                                    "address"
                                  : "";
    }

    static constexpr auto systemd = "org.freedesktop.systemd1.Manager";
    static std::unique_ptr<Simulation> board;

    const Kind& kind = GetParam().kind;
    const Flash& flash = GetParam().flash;
    const std::string flashed = board->directory() + "/flashed";
    const std::string gate = flashed + ".now";
    Transcript transcript;
    Connection raw = connectTo(board->busAddress());
    sdbusplus::bus_t connection{raw.get()};
    Manager manager{connection};
    std::vector<std::string> results;
};

std::unique_ptr<Simulation> FlashUnderSystemd::board;

TEST_P(FlashUnderSystemd, EndsAsSystemdSays)
{
    const auto failure = expectedFailure();
    EXPECT_EQ(launch(), failure.empty() ? 0 : -5);
    auto expected = kind.announcement(flash.imagePath, unit());
    if (!failure.empty())
    {
        expected.push_back(err(filled(kind.failure, failure)));
    }
    EXPECT_EQ(events(), expected);

    disturb();
    writeBytes(gate, "");
    awaitEnds(flash.results.size());
    EXPECT_EQ(results, flash.results);
    EXPECT_EQ(fs::exists(flashed), flash.flashes);
}

std::vector<Row> rows()
{
    std::vector<Row> all;
    for (const auto& kind : {bmc, bios, cpld})
    {
        for (const auto& flash : flashes())
        {
            all.push_back({kind, flash});
        }
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Flash, FlashUnderSystemd, testing::ValuesIn(rows()),
                         [](const auto& row) {
                             return row.param.kind.name + row.param.flash.name;
                         });

} // namespace
