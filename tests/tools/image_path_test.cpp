// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "tool_test.hpp"

#include <sys/stat.h>

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

TEST_F(ImagePath, MustNotLieBelowAFile)
{
    everyVerbRefuses("/etc/passwd/x", "/etc/passwd/x: Not a directory",
                     "name an image file that can be read");
}

TEST_F(ImagePath, IsMadeAbsoluteForTheServices)
{
    const auto image = images.bmc("1");

    EXPECT_EQ(bmc.run({"sh", "-c",
                       "cd " + images.folder() + " && " +
                           fromEnvironment("WEXA_FWMGR") + " verify bmc bmc"}),
              (Completed{0, image + ": authentic BMC image\n", ""}));
}

TEST_F(ImagePath, MustNotHoldADashToBeFlashed)
{
    updateRefuses(copyTo("image-bmc"),
                  "the flash unit would read each \"-\" as \"/\"",
                  "move the image to a path without \"-\"");
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

} // namespace
