// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/call_gate.hpp"
#include "schema.hpp"
#include "tool_test.hpp"

#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <filesystem>

// What is flashed is what was verified.

using namespace test;
using nlohmann::json;

namespace
{

class UpdateOfAnImage : public ToolTest
{
  protected:
    /** @param arguments  of update; the second is the image */
    void expectNothingFlashed(const std::vector<std::string>& arguments,
                              int status, const std::string& why) const
    {
        std::vector<std::string> command{"update"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const auto done = fwmgr(command);
        EXPECT_EQ(done.status, status);
        EXPECT_THAT(done.err,
                    testing::StartsWith("wexa-fwmgr: " + arguments.at(1) +
                                        ": " + why + '\n'));
        EXPECT_TRUE(nothingWasFlashed());
    }

    bool nothingWasFlashed() const
    {
        return std::filesystem::is_empty(bmc.directory() + "/flash");
    }

    static constexpr auto keep =
        "keep images where no other program writes, and flash again before "
        "the device starts from it";

    std::string image = images.bmc("1");
};

TEST_F(UpdateOfAnImage, FlashesNoneThatIsNotAuthentic)
{
    const auto forged = images.make(
        "forged", {"--kind", "bmc", "--version", "1", "--broken", "digest"});
    expectNothingFlashed({"bmc", forged}, imageRefused, "not authentic");
}

TEST_F(UpdateOfAnImage, FlashesNoneThatCannotBeVerified)
{
    bmc.set("security", "absent");
    expectNothingFlashed({"bmc", image}, callFailed, "could not be verified");
}

TEST_F(UpdateOfAnImage, FlashesNoneForAnotherBoard)
{
    const auto bios = images.make(
        "bios", {"--kind", "bios", "--version", "1", "--board", "8"});
    expectNothingFlashed({"bios", bios}, imageRefused, "is not for this board");
}

TEST_F(UpdateOfAnImage, FlashesNoneThatTheCpldRefuses)
{
    const auto cpld = images.make(
        "cpld", {"--kind", "cpld", "--version", "1", "--board", "1"});
    expectNothingFlashed({"cpld", cpld, "--component", "FAN_CPLD"},
                         imageRefused, "not authentic");
}

TEST_F(UpdateOfAnImage, FlashesAnyImageWithNoVerify)
{
    const auto forged = images.make(
        "forged", {"--kind", "bmc", "--version", "1", "--broken", "digest"});
    const auto done = fwmgr({"update", "bmc", forged, "--no-verify"});
    EXPECT_EQ(done.status, 0);
    EXPECT_THAT(done.out,
                testing::MatchesRegex(".*/forged: flashed in [0-9.]+ s, "
                                      "without verification\n"));
    EXPECT_EQ(bmc.calls("security"), Calls());
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(forged));
}

TEST_F(UpdateOfAnImage, FlashesNoneThatChangedSinceItWasVerified)
{
    // So slow that this test is faster, when systemd is asked the first time.
    bmc.set("manager", "slow");
    CallGate gate(bmc.busAddress());
    auto tool = startedUpdate({"bmc", image});
    gate.awaitCall("Subscribe");
    chmod(image.c_str(), 0600);
    EXPECT_EQ(tool.wait(),
              refusal(imageRefused,
                      image + ": changed before it could be flashed",
                      "keep images where no other program writes, and update "
                      "again"));
    EXPECT_TRUE(nothingWasFlashed());
}

TEST_F(UpdateOfAnImage, FlashesNoneThatWentAwaySinceItWasVerified)
{
    // So slow that this test is faster, when systemd is asked the first time.
    bmc.set("manager", "slow");
    CallGate gate(bmc.busAddress());
    auto tool = startedUpdate({"bmc", image});
    gate.awaitCall("Subscribe");
    std::filesystem::remove(image);
    EXPECT_EQ(tool.wait(),
              refusal(imageRefused,
                      image + ": was removed before it could be flashed",
                      "keep images where no other program writes, and update "
                      "again"));
    EXPECT_TRUE(nothingWasFlashed());
}

TEST_F(UpdateOfAnImage, FlashesWhatALinkNamedWhenItWasVerified)
{
    const auto link = images.folder() + "/link";
    const auto forged = images.make(
        "forged", {"--kind", "bmc", "--version", "1", "--broken", "digest"});
    std::filesystem::create_symlink(image, link);
    bmc.set("manager", "slow");
    CallGate gate(bmc.busAddress());
    auto tool = startedUpdate({"bmc", link});
    gate.awaitCall("Subscribe");
    std::filesystem::remove(link);
    std::filesystem::create_symlink(forged, link);

    EXPECT_EQ(tool.wait().status, 0);
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(UpdateOfAnImage, IsNoSuccessWhereItChangedWhileItWasFlashed)
{
    bmc.set("flash-time", "1000");
    auto tool = startedUpdate({"bmc", image});
    bmc.awaitFlash("bmc");
    std::filesystem::rename(
        images.make("new", {"--kind", "bmc", "--version", "2"}), image);
    EXPECT_EQ(tool.wait(),
              (Completed{flashFailed, "",
                         "flashing " + image + "\n" +
                             failureText(image + ": the image changed while "
                                                 "it was flashed",
                                         {"", {}, "", keep})}));
}

TEST_F(UpdateOfAnImage, IsNoSuccessWhereADirectoryChangedWhileItWasFlashed)
{
    bmc.set("flash-time", "1000");
    const auto directory = images.folder() + "/cpld";
    std::filesystem::create_directory(directory);
    const auto entry =
        images.make("cpld/image_cpld_signed.bin",
                    {"--kind", "cpld", "--version", "1", "--board", "1"});
    auto tool = startedUpdate({"cpld", directory, "--component", "MB_CPLD"});
    bmc.awaitFlash("cpld-MB_CPLD");
    chmod(entry.c_str(), 0600);
    EXPECT_EQ(tool.wait().status, flashFailed);
}

TEST_F(UpdateOfAnImage, IsASuccessWhereTheUnitRemovesTheImageThatItFlashed)
{
    const auto unit = [this](const std::string& last) {
        bmc.replaceFlashUnit("[Unit]\nDefaultDependencies=no\n[Service]\n"
                             "Type=oneshot\nExecStart=/bin/cp " +
                             image + ' ' + bmc.directory() +
                             "/flash/bmc\nExecStartPost=/bin/" + last + '\n');
    };
    const auto expected = bytesOf(image);
    unit("rm " + image);
    const auto done = fwmgr({"update", "bmc", image});
    EXPECT_EQ(done.status, 0) << done.err;
    EXPECT_THAT(done.out, testing::MatchesRegex(
                              ".*/bmc: flashed in [0-9.]+ s; the image was "
                              "removed meanwhile\n"));
    EXPECT_TRUE(bmc.flash("bmc") == expected);

    image = images.bmc("1");
    const auto told = fwmgr({"update", "bmc", image, "--json"});
    EXPECT_EQ(violationsIn(told.out), "");
    EXPECT_EQ(json::parse(told.out)["result"]["image_removed"], true);

    image = images.bmc("1");
    unit("true");
    EXPECT_EQ(json::parse(fwmgr({"update", "bmc", image, "--json"})
                              .out)["result"]["image_removed"],
              false);
}

TEST_F(UpdateOfAnImage, IsNoSuccessWhereAnotherTookItsPlaceAndWasRemoved)
{
    const auto other = images.make("new", {"--kind", "bmc", "--version", "2"});
    const std::vector<std::string> changes{
        "mv " + other + ' ' + image, "truncate --size=1 " + image,
        "mv " + images.folder() + ' ' + images.folder() + ".moved"};
    for (const auto& change : changes)
    {
        const auto program = bmc.directory() + "/program";
        writeBytes(program, change + "; rm --force " + image + '\n');
        bmc.replaceFlashUnit("[Unit]\nDefaultDependencies=no\n[Service]\n"
                             "Type=oneshot\nExecStart=/bin/bash " +
                             program + '\n');
        EXPECT_EQ(fwmgr({"update", "bmc", image}),
                  (Completed{flashFailed, "",
                             "flashing " + image + "\n" +
                                 failureText(image + ": the image changed "
                                                     "while it was flashed",
                                             {"", {}, "", keep})}))
            << change;
        if (std::filesystem::exists(images.folder()))
        {
            images.bmc("1");
        }
    }
    std::filesystem::rename(images.folder() + ".moved", images.folder());
}

TEST_F(UpdateOfAnImage, ThatFailsSaysThatTheImageWasRemoved)
{
    bmc.set("flash-time", "1000");
    bmc.set("flash", "fail");
    auto tool = startedUpdate({"bmc", image});
    bmc.awaitFlash("bmc");
    std::filesystem::remove(image);
    const auto done = tool.wait();
    EXPECT_EQ(done.status, flashFailed);
    EXPECT_THAT(done.err,
                testing::HasSubstr("wexa-fwmgr: " + image +
                                   ": the flash failed: its program ended with "
                                   "exit status 1/FAILURE; the image was "
                                   "removed meanwhile\n"));
}

TEST_F(UpdateOfAnImage, NamesTheImageInTheJsonOfEveryFailure)
{
    const auto forged = images.make(
        "forged", {"--kind", "bmc", "--version", "1", "--broken", "digest"});
    const auto refused = fwmgr({"update", "bmc", forged, "--json"});
    EXPECT_EQ(violationsIn(refused.out), "");
    EXPECT_EQ(json::parse(refused.out)["result"],
              (json{{"image", forged},
                    {"unit", flashUnit("bmc", forged)},
                    {"verified", false},
                    {"started", false}}));
}

} // namespace
