// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/private_bus.hpp"
#include "../support/simulation.hpp"
#include "../support/transcript.hpp"

#include <wexa/core/fwmanager_internal.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>

// What a real systemd says of flash units of all sorts, and what the library
// makes of it, for each kind of firmware and through each handler. That a job
// is done does not mean that something was flashed.

using namespace test;
using wexa::core::FWManagerInternal;
using wexa::core::VersionPurpose;

namespace
{

namespace fs = std::filesystem;

struct Kind
{
    std::string name;
    std::string unitTemplate;
    std::string words;
    int (*update)(FWManagerInternal&, const std::string& imagePath,
                  const std::string& component);

    /** The line that reports a failure: "{}" stands for its text. */
    std::string failure;

    /** systemd's answer is no boolean, which CPLD launches expect. */
    bool failsWithAJob = false;
};

const Kind bmc{
    "Bmc",
    "obmc-flash-bmc-rot2@",
    R"(bmc_rot2\x20update\x20)",
    [](FWManagerInternal& manager, const std::string& path,
       const std::string&) {
        return manager.UpdateBMC(path, VersionPurpose::BMC, "");
    },
    "Error in trying to upgrade bmc-rot2: {}",
};
const Kind bios{
    "Bios",
    "obmc-flash-host-bios@",
    R"(bios_rot2\x20update\x20)",
    [](FWManagerInternal& manager, const std::string& path,
       const std::string&) {
        return manager.UpdateBIOS(path, VersionPurpose::Host, "");
    },
    "Error in trying to upgrade Host Bios: {}",
};
const Kind cpld{
    "Cpld",
    "obmc-flash-bmc-rot2@",
    R"(cpld_rot2\x20update\x20)",
    [](FWManagerInternal& manager, const std::string& path,
       const std::string& component) {
        return manager.UpdateCPLD(path, VersionPurpose::Host, component);
    },
    "Error in trying to upgrade cpld_rot2: {}",
    true,
};

/** What happens to a flash after it was started. */
enum class Meanwhile
{
    nothing,
    stop,
    startAgain,
    reload,
};

struct Flash
{
    std::string name;

    /** The unit's text: "{flash}" stands for a command that flashes. Empty:
     *  there is no such unit.
     */
    std::string unit;

    /** systemd's words for the jobs that end, in order. */
    std::vector<std::string> results;
    bool flashes = false;
    Meanwhile meanwhile = Meanwhile::nothing;

    /** What systemd says of a start that it refuses: "{}" stands for the name
     *  of the unit.
     */
    std::string refusal{};
    std::string imagePath = "/tmp/image";
    bool isMasked = false;
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

std::string filled(std::string text, const std::string& place,
                   const std::string& with)
{
    if (const auto at = text.find(place); at != std::string::npos)
    {
        text.replace(at, place.size(), with);
    }
    return text;
}

/** A unit's text; a desk's systemd has none of the targets that units depend
 *  on by default.
 */
std::string unitText(const std::string& unit, const std::string& service)
{
    return "[Unit]\nDefaultDependencies=no\n" + unit + "\n[Service]\n" +
           service + '\n';
}

std::string oneshot(const std::string& service, const std::string& unit = "")
{
    return unitText(unit, "Type=oneshot\n" + service);
}

class FlashUnderSystemd : public testing::TestWithParam<Row>
{
  protected:
    static void SetUpTestSuite()
    {
        board = std::make_unique<Simulation>();
        board->replaceUnit("broken.service", oneshot("ExecStart=/bin/false"));
    }

    static void TearDownTestSuite()
    {
        board->end();
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
        installUnit();
    }

    ~FlashUnderSystemd() override
    {
        board->call({"org.freedesktop.systemd1", "/org/freedesktop/systemd1",
                     systemd, "ResetFailed"});
        fs::remove(flashed);
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
            board->replaceUnit(
                file, filled(flash.unit, "{flash}", "/bin/touch " + flashed));
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
        sdbusplus::message::message message{signal};
        std::uint32_t id{};
        sdbusplus::message::object_path path;
        std::string ended;
        std::string result;
        message.read(id, path, ended, result);
        if (!ended.starts_with("obmc-flash") || ended.ends_with(".slice"))
        {
            return;
        }
        events();
        for (const auto handler : {&FWManagerInternal::onBMCStateChange,
                                   &FWManagerInternal::onBIOSStateChange,
                                   &FWManagerInternal::onCPLDStateChange})
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
        constexpr std::uint64_t patience = 20'000'000;
        constexpr std::uint64_t moment = 50'000;
        for (;;)
        {
            const auto worked =
                check(sd_bus_process(raw.get(), nullptr), "sd_bus_process");
            const auto isEnough = results.size() >= count;
            if (worked == 0 &&
                check(sd_bus_wait(raw.get(), isEnough ? moment : patience),
                      "sd_bus_wait") == 0)
            {
                return;
            }
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

    std::string failureLine(const std::string& text) const
    {
        return err(filled(kind.failure, "{}", text));
    }

    static constexpr auto systemd = "org.freedesktop.systemd1.Manager";
    static std::unique_ptr<Simulation> board;

    const Kind& kind = GetParam().kind;
    const Flash& flash = GetParam().flash;
    const std::string flashed = board->directory() + "/flashed";
    Transcript transcript;
    Connection raw = connectTo("unix:path=" + board->directory() + "/run/bus");
    sdbusplus::bus::bus connection{raw.get()};
    FWManagerInternal manager{connection};
    std::vector<std::string> results;
};

std::unique_ptr<Simulation> FlashUnderSystemd::board;

TEST_P(FlashUnderSystemd, EndsAsSystemdSays)
{
    const auto result = launch();

    if (!flash.refusal.empty())
    {
        EXPECT_EQ(result, -5);
        EXPECT_EQ(
            events().back(),
            failureLine("sd_bus_call: " + filled(flash.refusal, "{}", unit())));
    }
    else if (kind.failsWithAJob)
    {
        EXPECT_EQ(result, -5);
        EXPECT_EQ(events().back(),
                  failureLine("sd_bus_message_read_basic bool: "
                              "System.Error.ENXIO: No such device or "
                              "address"));
    }
    else
    {
        EXPECT_EQ(result, 0);
    }
    disturb();
    awaitEnds(flash.results.size());
    EXPECT_EQ(results, flash.results);
    EXPECT_EQ(fs::exists(flashed), flash.flashes);
}

std::vector<Flash> flashes()
{
    const std::string flash = "ExecStart={flash}";
    const std::string slowly = "ExecStart=/bin/sleep 0.3\nExecStart={flash}";
    const std::string notValid = "org.freedesktop.DBus.Error.InvalidArgs: "
                                 "Unit name {} is not valid.";
    return {
        {"ThatSucceeds", oneshot(flash), {"done"}, true},
        {"ThatFails", oneshot("ExecStart=/bin/false\n" + flash), {"failed"}},
        {"ThatIsKilled",
         oneshot("ExecStart=/bin/sh -c 'kill -KILL $$$$'\n" + flash),
         {"failed"}},
        {"ThatIsNotInTime",
         oneshot("TimeoutStartSec=200ms\nExecStart=/bin/sleep 60\n" + flash),
         {"failed"}},
        {"OfAMissingProgram", oneshot("ExecStart=/nowhere"), {"failed"}},
        {"WhoseConditionIsFalse",
         oneshot(flash, "ConditionPathExists=/nowhere"),
         {"done"}},
        {"WhoseExecConditionIsFalse",
         oneshot("ExecCondition=/bin/false\n" + flash),
         {"done"}},
        {"OfASimpleServiceWithoutItsProgram",
         unitText("", "Type=simple\nExecStart=/nowhere"),
         {"done"}},
        {"WhoseFailureIsIgnored", oneshot("ExecStart=-/bin/false"), {"done"}},
        {"WhoseAssertionIsFalse",
         oneshot(flash, "AssertPathExists=/nowhere"),
         {"assert"}},
        {"WhoseRequirementFails",
         oneshot(flash, "Requires=broken.service\nAfter=broken.service"),
         {"dependency"}},
        {"ThatIsStopped",
         oneshot("ExecStart=/bin/sleep 60\n" + flash),
         {"canceled", "done"},
         false,
         Meanwhile::stop},
        {"ThatIsStartedAgain",
         oneshot(slowly),
         {"done"},
         true,
         Meanwhile::startAgain},
        {"DuringAReload", oneshot(slowly), {"done"}, true, Meanwhile::reload},
        {.name = "WithoutATemplate",
         .unit = "",
         .results = {},
         .refusal = "org.freedesktop.systemd1.NoSuchUnit: Unit {} not found."},
        {.name = "ThatIsMasked",
         .unit = oneshot(flash),
         .results = {},
         .refusal = "org.freedesktop.systemd1.UnitMasked: Unit {} is masked.",
         .isMasked = true},
        {.name = "OfAPathWithABlank",
         .unit = oneshot(flash),
         .results = {},
         .refusal = notValid,
         .imagePath = "/tmp/an image"},
        {.name = "OfAPathOfOtherLetters",
         .unit = oneshot(flash),
         .results = {},
         .refusal = notValid,
         .imagePath = "/tmp/\xc3\xa4"},
        {.name = "OfALongPath",
         .unit = oneshot(flash),
         .results = {},
         .refusal = notValid,
         .imagePath = "/tmp/" + std::string(250, 'x')},
        {.name = "OfAPathThatIsNotUtf8",
         .unit = oneshot(flash),
         .results = {},
         .refusal = "org.freedesktop.DBus.Error.InvalidArgs: Invalid "
                    "arguments 's' to call org.freedesktop.systemd1.Manager."
                    "StartUnit(), expecting 'ss'.",
         .imagePath = "/tmp/\xff"},
    };
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
