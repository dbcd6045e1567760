// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "schema.hpp"
#include "tool_test.hpp"

#include <nlohmann/json.hpp>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

// Paths that are no images, and paths that a unit name cannot carry.

using namespace test;

namespace
{

class ImagePath : public ToolTest
{
  protected:
    void everyVerbRefuses(const std::string& path, const std::string& what,
                          const std::string& hint)
    {
        for (const auto* verb : {"upload", "verify", "update"})
        {
            EXPECT_EQ(fwmgr({verb, "bmc", path}),
                      refusal(wrongUsage, what, hint));
        }
    }

    /** Has a verb of the tool's work on the image "bmc" of a folder. */
    Completed inFolder(const std::string& folder, const std::string& verb)
    {
        return bmc.run({"sh", "-c", "cd \"$1\" && exec \"$0\" \"$2\" bmc bmc",
                        fromEnvironment("WEXA_FWMGR"), folder, verb});
    }

    /** A copy of a sound image under another name. */
    std::string copyTo(const std::string& name)
    {
        auto path = images.folder() + '/' + name;
        std::filesystem::create_directories(
            std::filesystem::path(path).parent_path());
        std::filesystem::copy_file(images.bmc("1"), path);
        return path;
    }

    void updateRefuses(const std::string& path, const std::string& why,
                       const std::string& hint)
    {
        EXPECT_EQ(fwmgr({"update", "bmc", path}),
                  refusal(wrongUsage, path + ": " + why, hint));
        EXPECT_FALSE(std::filesystem::exists(bmc.directory() + "/flash/bmc"));
    }
};

TEST_F(ImagePath, MustExist)
{
    everyVerbRefuses(images.missing(),
                     images.missing() + ": No such file or directory",
                     "name an image file that can be read");
}

TEST_F(ImagePath, MustNotBeEmpty)
{
    everyVerbRefuses("", "'': is no path", "name an image file");
}

TEST_F(ImagePath, MustNotBeADirectory)
{
    everyVerbRefuses(images.folder(), images.folder() + ": is not a file",
                     "name an image file");
}

TEST_F(ImagePath, MustNotBeAFifo)
{
    const auto fifo = images.folder() + "/fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);

    everyVerbRefuses(fifo, fifo + ": is not a file", "name an image file");
}

TEST_F(ImagePath, IsNotOpenedWhereItIsNoFile)
{
    const auto device = images.folder() + "/device";
    ASSERT_EQ(mknod(device.c_str(), S_IFCHR | 0600, makedev(1, 3)), 0);
    const auto watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(watch, device.c_str(), IN_OPEN), 0);

    everyVerbRefuses(device, device + ": is not a file", "name an image file");

    inotify_event event{};
    EXPECT_EQ(read(watch, &event, sizeof(event)), -1);
    EXPECT_EQ(errno, EAGAIN);
    close(watch);
}

TEST_F(ImagePath, MustNotLieBelowAFile)
{
    everyVerbRefuses("/etc/passwd/x", "/etc/passwd/x: Not a directory",
                     "name an image file that can be read");
}

TEST_F(ImagePath, IsMadeAbsoluteForTheServices)
{
    const auto image = images.bmc("1");

    EXPECT_EQ(inFolder(images.folder(), "verify"),
              (Completed{0, image + ": authentic BMC image\n", ""}));
}

TEST_F(ImagePath, MustBeUtf8WhereItIsMadeAbsolute)
{
    const auto folder = images.folder() + "/\xff";
    std::filesystem::create_directory(folder);
    std::filesystem::rename(images.bmc("1"), folder + "/bmc");
    for (const auto* verb : {"upload", "verify", "update"})
    {
        EXPECT_EQ(inFolder(folder, verb),
                  refusal(wrongUsage,
                          images.folder() + R"(/\xff/bmc: is not UTF-8)",
                          "D-Bus carries UTF-8 only: move the image to another "
                          "directory"));
    }
}

TEST_F(ImagePath, MustNotHoldADashToBeFlashed)
{
    updateRefuses(copyTo("image-bmc"), dash, noDash);
}

TEST_F(ImagePath, MustNotHoldCharactersThatUnitNamesLackToBeFlashed)
{
    for (const auto* name :
         {"a b", "a%b", "a\\x20b", "a\xc3\xa4", "a'b", "a{}"})
    {
        updateRefuses(copyTo(name), "a unit name cannot carry this path",
                      "move the image to a path of letters, digits, \"/\", "
                      "\":\", \"_\", \".\" and \"@\"");
    }
}

TEST_F(ImagePath, MustFitIntoAUnitNameToBeFlashed)
{
    // The longest unit name has 255 bytes, 56 of them around the path.
    const auto prefix = images.folder() + '/';
    const std::string longest(205 - prefix.size(), 'x');

    updateRefuses(copyTo(longest + 'x'),
                  "is 1 characters too long for a unit name",
                  "move the image to a shorter path");

    EXPECT_EQ(fwmgr({"update", "bmc", copyTo(longest)}).status, 0);
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(prefix + longest));
}

TEST_F(ImagePath, MayHoldEveryOtherCharacterOfUnitNamesToBeFlashed)
{
    const auto image = copyTo("A_z.0:9@b//c");

    EXPECT_EQ(fwmgr({"update", "bmc", image}).status, 0);
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

TEST_F(ImagePath, ThatUpdateRefusesIsWarnedOfByOtherVerbs)
{
    const auto image = copyTo("image-bmc");
    const auto warning = "wexa-fwmgr: warning: update refuses " + image + ": " +
                         dash + "\n  hint:     " + noDash + '\n';

    EXPECT_EQ(fwmgr({"upload", "bmc", image}),
              (Completed{0,
                         image + ": accepted as BMC image, version 1, recorded "
                                 "as staged\n",
                         warning}));
    EXPECT_EQ(fwmgr({"verify", "bmc", image}),
              (Completed{0, image + ": authentic BMC image\n", warning}));
}

TEST_F(ImagePath, ThatUpdateRefusesIsWarnedOfInJson)
{
    const auto image = copyTo("image-bmc");
    for (const auto* verb : {"upload", "verify"})
    {
        const auto done = fwmgr({verb, "bmc", image, "--json"});
        EXPECT_EQ(done.status, 0);
        EXPECT_EQ(done.err, "");
        EXPECT_EQ(violationsIn(done.out), "");
        EXPECT_EQ(nlohmann::json::parse(done.out)["warnings"],
                  (nlohmann::json{
                      {{"message", "update refuses " + image + ": " + dash},
                       {"hint", noDash}}}));
    }
}

TEST_F(ImagePath, ThatIsTooLongForUpdateIsWarnedOfByOtherVerbs)
{
    const auto image = copyTo(std::string(250, 'x'));
    EXPECT_EQ(fwmgr({"verify", "bmc", image}).err,
              "wexa-fwmgr: warning: update refuses " + image + ": is " +
                  std::to_string(image.size() - 205) +
                  " characters too long for a unit name\n  hint:     move the "
                  "image to a shorter path\n");
}

} // namespace
