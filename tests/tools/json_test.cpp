// SPDX-License-Identifier: Apache-2.0
#include "schema.hpp"
#include "tool_test.hpp"

#include <nlohmann/json.hpp>

// With --json every end of every verb is one JSON value on standard output and
// nothing on standard error.

using namespace test;
using nlohmann::json;

namespace
{

/** A way in which a verb ends. */
struct Ending
{
    std::string name;
    /** Of the simulated BMC, as NAME=VALUE. */
    std::vector<std::string> settings;
    /** IMAGE, BAD, BIOS and CPLD stand for paths of images. */
    std::vector<std::string> arguments;
    int status;
    std::string outcome;
    /** Of the error; where it does not matter, empty. */
    std::string step;
    std::string dbusError;
};

class Json : public ToolTest, public testing::WithParamInterface<Ending>
{
  protected:
    std::vector<std::string> arguments() const
    {
        const std::map<std::string, std::string> paths{
            {"IMAGE", images.bmc("2.14.0")},
            {"BAD", images.make("bad", {"--kind", "bmc", "--version", "1",
                                        "--broken", "digest"})},
            {"BIOS", images.make("bios", {"--kind", "bios", "--version", "1",
                                          "--board", "8"})},
            {"CPLD", images.make("cpld", {"--kind", "cpld", "--version", "7",
                                          "--board", "1"})},
        };
        auto words = GetParam().arguments;
        for (auto& word : words)
        {
            if (const auto found = paths.find(word); found != paths.end())
            {
                word = found->second;
            }
        }
        words.emplace_back("--json");
        return words;
    }
};

TEST_P(Json, IsOneValueThatTheSchemaDescribesWhere)
{
    bmc.set("flash-time", "50");
    for (const auto& setting : GetParam().settings)
    {
        const auto equals = setting.find('=');
        bmc.set(setting.substr(0, equals), setting.substr(equals + 1));
    }

    const auto done = fwmgr(arguments());

    EXPECT_EQ(done.err, "");
    ASSERT_EQ(violationsIn(done.out), "") << done.out;
    const auto value = json::parse(done.out);
    EXPECT_EQ(done.status, GetParam().status);
    EXPECT_EQ(value["exit_status"], done.status);
    EXPECT_EQ(value["outcome"], GetParam().outcome);
    if (!GetParam().step.empty())
    {
        EXPECT_EQ(value["error"]["step"], GetParam().step);
    }
    if (!GetParam().dbusError.empty())
    {
        EXPECT_EQ(value["error"]["dbus_error"], GetParam().dbusError);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Endings, Json,
    testing::Values(
        Ending{"AnUploadSucceeds",
               {},
               {"upload", "bmc", "IMAGE"},
               0,
               "success",
               "",
               ""},
        Ending{"AnUploadIsTraced",
               {},
               {"upload", "bmc", "IMAGE", "--trace"},
               0,
               "success",
               "",
               ""},
        Ending{"AnUploadIsRefused",
               {},
               {"upload", "bmc", "BAD"},
               3,
               "image_refused",
               bySecurityManager,
               ""},
        Ending{"AnUploadIsForAnotherBoard",
               {},
               {"upload", "bios", "BIOS"},
               3,
               "image_refused",
               "comparing the image's board with this one",
               ""},
        Ending{"AnUploadCannotAsk",
               {"security=absent"},
               {"upload", "bmc", "IMAGE"},
               4,
               "call_failed",
               bySecurityManager,
               serviceUnknown},
        Ending{"AnUploadOfNoFile",
               {},
               {"upload", "bmc", "/nonexistent"},
               2,
               "wrong_usage",
               "",
               ""},
        Ending{"AnUploadOfACpldImage",
               {},
               {"upload", "cpld", "CPLD", "--component", "MB_CPLD"},
               0,
               "success",
               "",
               ""},
        Ending{"AnImageIsAuthentic",
               {},
               {"verify", "bmc", "IMAGE"},
               0,
               "success",
               "",
               ""},
        Ending{"AnImageIsNotAuthentic",
               {},
               {"verify", "bmc", "BAD"},
               3,
               "image_refused",
               bySecurityManager,
               ""},
        Ending{"AVerificationIsAnsweredInAnotherType",
               {"security=wrong-type"},
               {"verify", "bmc", "IMAGE"},
               4,
               "call_failed",
               bySecurityManager,
               "System.Error.ENXIO"},
        Ending{"AComponentDoesNotExist",
               {},
               {"verify", "cpld", "CPLD", "--component", "PSU"},
               2,
               "wrong_usage",
               "",
               ""},
        Ending{"AFlashSucceeds",
               {},
               {"update", "bmc", "IMAGE"},
               0,
               "success",
               "",
               ""},
        Ending{"AFlashIsStarted",
               {},
               {"update", "bmc", "IMAGE", "--no-wait"},
               0,
               "success",
               "",
               ""},
        Ending{"AFlashIsPlanned",
               {},
               {"update", "bmc", "IMAGE", "--dry-run"},
               0,
               "success",
               "",
               ""},
        Ending{"AFlashFails",
               {"flash=fail"},
               {"update", "bmc", "IMAGE"},
               5,
               "flash_failed",
               "",
               ""},
        Ending{"AFlashIsNotRun",
               {"flash-unit=condition"},
               {"update", "bmc", "IMAGE"},
               6,
               "flash_not_run",
               "",
               ""},
        Ending{"AFlashDoesNotEnd",
               {"flash=hang"},
               {"update", "bmc", "IMAGE", "--timeout", "1"},
               7,
               "may_still_run",
               "",
               ""},
        Ending{"AFlashCannotBeStarted",
               {"manager=refuse"},
               {"update", "bmc", "IMAGE"},
               4,
               "call_failed",
               "starting the flash unit",
               "org.freedesktop.systemd1.UnitMasked"},
        Ending{"ComponentsAreListed", {}, {"components"}, 0, "success", "", ""},
        Ending{"NoComponentIsBound",
               {"cpld-bound="},
               {"components"},
               0,
               "success",
               "",
               ""},
        Ending{"ComponentsCannotBeListed",
               {"cpld=absent"},
               {"components"},
               4,
               "call_failed",
               "reading the registry of the CPLDs",
               serviceUnknown},
        Ending{"TheBoardIsReady", {}, {"doctor"}, 0, "success", "", ""},
        Ending{"TheBoardIsNotReady",
               {"host=absent"},
               {"doctor"},
               8,
               "not_ready",
               "",
               ""},
        Ending{"TheBusCannotBeReached",
               {},
               {"components", "--bus", "unix:path=/nonexistent"},
               4,
               "call_failed",
               "",
               ""},
        Ending{"TheBusCannotBeMonitored",
               {},
               {"monitor", "--bus", "unix:path=/nonexistent"},
               4,
               "call_failed",
               "",
               ""},
        Ending{
            "TheCommandLineIsWrong", {}, {"flash"}, 2, "wrong_usage", "", ""}),
    [](const auto& row) { return row.param.name; });

TEST_F(Json, HoldsWhatTheLibrarySaidAndNoLineOfItElsewhere)
{
    const auto image = images.bmc("2.14.0");
    const auto done = fwmgr({"upload", "bmc", image, "--json", "--trace"});
    const auto value = json::parse(done.out);
    EXPECT_EQ(value["result"]["upload"],
              (json{{"version", "2.14.0"}, {"extendedVersion", ""}}));
    ASSERT_EQ(value["trace"].size(), 2);
    EXPECT_EQ(value["trace"][0]["member"], "verifyBmc");
    EXPECT_EQ(value["trace"][1]["member"], "Set");
    EXPECT_EQ(value["trace"][1]["error"], nullptr);
}

TEST_F(Json, ReplacesWhatIsNotUtf8)
{
    const auto done = fwmgr({"verify", "bmc", "/\xff", "--json"});
    EXPECT_EQ(violationsIn(done.out), "");
    EXPECT_EQ(json::parse(done.out)["error"]["message"],
              "the argument '/\xef\xbf\xbd' is not UTF-8");
}

} // namespace
