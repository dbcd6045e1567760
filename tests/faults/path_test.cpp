// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/cpld_manager.hpp"
#include "../support/temporary_directory.hpp"
#include "platform.hpp"
#include "site_words.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>

// What a path may be where an image is expected. A CPLD image is sent by its
// path unless the path is missing or cannot be examined; of BMC and BIOS images
// the core library decides what can be read.

using namespace test;

namespace
{

namespace fs = std::filesystem;

/** What becomes of a path as a CPLD image's: its end after the given path is
 *  sent, it is called missing, or this is thrown, up to the path's name.
 */
struct Sent
{
    std::string end{};
};

struct Missing
{};

struct Thrown
{
    std::string text;
};

using AsCpldImage = std::variant<Sent, Missing, Thrown>;

struct PathRow
{
    std::string name;

    /** Makes it, with the bytes of an image; returns its path. */
    std::function<std::string(const TemporaryDirectory&,
                              const std::string& bytes)>
        make;
    AsCpldImage asCpldImage;
    bool isReadable = false;
};

void PrintTo(const PathRow& row, std::ostream* stream)
{
    *stream << row.name;
}

class ImagePath : public Platform, public testing::WithParamInterface<PathRow>
{
  protected:
    static void SetUpTestSuite()
    {
        makeImages();
    }

    std::string make(const std::string& image = cpldImage)
    {
        return GetParam().make(directory,
                               image == cpldImage ? "image" : bytesOf(image));
    }

    void expectUpload(const wexa::core::UploadResult& result,
                      const std::string& what)
    {
        EXPECT_EQ(!result.empty(), GetParam().isReadable);
        if (!GetParam().isReadable)
        {
            EXPECT_EQ(
                events().back(),
                errNotFlushed("Unable to read version from " + what + "\n"));
            EXPECT_EQ(sent(), Events{});
        }
    }

    TemporaryDirectory directory;
};

TEST_P(ImagePath, IsTakenForACpldImageAsItIs)
{
    startHealthy(siteNamed("DescribeCpldImageAskingTheDevice"));
    const auto path = make();
    std::string result;
    try
    {
        result = asText(manager.getCPLDImageFileInfo("MB", path));
    }
    catch (const fs::filesystem_error& thrown)
    {
        result = thrown.what();
    }

    if (const auto* const asItIs = std::get_if<Sent>(&GetParam().asCpldImage))
    {
        EXPECT_EQ(result, "{odd: 0 0, versionString: 4 1.2}");
        EXPECT_EQ(sent(),
                  (Events{cpld_manager::registryCall(),
                          cpld_manager::call(cpldDevice, "readImageFileInfo",
                                             path + asItIs->end)}));
        return;
    }
    if (const auto* const thrown = std::get_if<Thrown>(&GetParam().asCpldImage))
    {
        EXPECT_EQ(result, thrown->text + " [" + path + "]");
        EXPECT_EQ(events(), Events{});
    }
    else
    {
        EXPECT_EQ(result, "{}");
        EXPECT_EQ(events(),
                  Events{err("ERROR !! File " + path + " does NOT exists")});
    }
    EXPECT_EQ(sent(), Events{});
}

TEST_P(ImagePath, IsReadAsABmcImageOrRefused)
{
    startHealthy(siteNamed("UploadBmcRecordingTheVersion"));
    expectUpload(manager.processUploadBmcImage(make(bmcImage()),
                                               Manager::UPLOAD_IMG_BMC, ""),
                 "image");
}

TEST_P(ImagePath, IsReadAsABiosImageOrRefused)
{
    startHealthy(siteNamed("UploadBiosRecordingTheVersion"));
    expectUpload(manager.processUploadBiosImage(make(biosImage()),
                                                Manager::UPLOAD_IMG_BIOS, ""),
                 "bios image");
}

std::string fileIn(const TemporaryDirectory& directory,
                   const std::string& bytes)
{
    const auto path = directory.file("image");
    writeBytes(path, bytes);
    return path;
}

std::string folderIn(const TemporaryDirectory& directory)
{
    const auto path = directory.file("folder");
    fs::create_directory(path);
    return path;
}

std::string linkTo(const TemporaryDirectory& directory,
                   const std::string& target)
{
    const auto path = directory.file("link");
    fs::create_symlink(target, path);
    return path;
}

INSTANTIATE_TEST_SUITE_P(
    Path, ImagePath,
    testing::Values(
        PathRow{"ThatIsAFile", fileIn, Sent{}, true},
        PathRow{"ThatIsEmpty",
                [](const auto&, const auto&) { return std::string(); },
                Missing{}},
        PathRow{"ThatIsMissing",
                [](const auto& directory, const auto&) {
                    return directory.file("missing");
                },
                Missing{}},
        PathRow{"BelowAFile",
                [](const auto& directory, const auto& bytes) {
                    return fileIn(directory, bytes) + "/below";
                },
                Missing{}},
        PathRow{"WithASlashBehindAFile",
                [](const auto& directory, const auto& bytes) {
                    return fileIn(directory, bytes) + '/';
                },
                Missing{}},
        PathRow{"OfALink",
                [](const auto& directory, const auto& bytes) {
                    return linkTo(directory, fileIn(directory, bytes));
                },
                Sent{}, true},
        PathRow{"OfADanglingLink",
                [](const auto& directory, const auto&) {
                    return linkTo(directory, "nowhere");
                },
                Missing{}},
        PathRow{"OfALoop",
                [](const auto& directory, const auto&) {
                    return linkTo(directory, "link");
                },
                Thrown{"filesystem error: status: Too many levels of symbolic "
                       "links"}},
        PathRow{"ThatIsTooLong",
                [](const auto&, const auto&) {
                    return '/' + std::string(4096, 'x');
                },
                Thrown{"filesystem error: status: File name too long"}},
        PathRow{"OfAFolder",
                [](const auto& directory, const auto&) {
                    return folderIn(directory);
                },
                Sent{}},
        PathRow{"OfAFolderWithASlashBehind",
                [](const auto& directory, const auto&) {
                    return folderIn(directory) + '/';
                },
                Sent{}},
        PathRow{"OfAPipe",
                [](const auto& directory, const auto&) {
                    const auto path = directory.file("pipe");
                    check(mkfifo(path.c_str(), 0600) < 0 ? -errno : 0,
                          "mkfifo");
                    return path;
                },
                Sent{}},
        PathRow{
            "OfADevice",
            [](const auto&, const auto&) { return std::string("/dev/zero"); },
            Sent{}}),
    [](const auto& row) { return row.param.name; });

TEST_F(Platform, FindsTheSignedImageAmongAHundredThousandFiles)
{
    // Where making files is fast.
    const TemporaryDirectory crowd("/dev/shm");
    for (int number = 0; number < 100'000; ++number)
    {
        const auto entry = crowd.file("entry" + std::to_string(number));
        check(mknod(entry.c_str(), S_IFREG | 0600, 0) < 0 ? -errno : 0,
              "mknod");
    }
    const auto image = crowd.file("image_cpld_signed.bin");
    writeBytes(image, "image");
    startHealthy(siteNamed("DescribeCpldImageAskingTheDevice"));

    manager.getCPLDImageFileInfo("MB", crowd.path());

    EXPECT_EQ(sent().back(),
              cpld_manager::call(cpldDevice, "readImageFileInfo", image));
}

class RemovedImage : public Platform
{
  protected:
    static void SetUpTestSuite()
    {
        makeImages();
    }

    /** The image is gone before a member is called; who asks does not look
     *  at it any more.
     */
    void expectSuccess(const std::string& name, const std::string& member)
    {
        const auto& site = siteNamed(name);
        startHealthy(site);
        const auto path = fileIn(directory, bytesOf(bmcImage()));
        const BeforeCall disturbance{member, [&] { fs::remove(path); }};
        if (member == "bindedDevices")
        {
            EXPECT_EQ(asText(manager.getCPLDImageFileInfo("MB", path)),
                      site.success.result);
        }
        else
        {
            EXPECT_EQ(asText(manager.processUploadBmcImage(
                          path, Manager::UPLOAD_IMG_BMC, "")),
                      site.success.result);
        }
        EXPECT_FALSE(fs::exists(path));
    }

    TemporaryDirectory directory;
};

TEST_F(RemovedImage, IsStillAskedAboutByItsPath)
{
    expectSuccess("DescribeCpldImageAskingForTheDevices", "bindedDevices");
}

TEST_F(RemovedImage, IsStillVerifiedAndRecordedByItsPath)
{
    expectSuccess("UploadBmcRecordingTheVersion", "verifyBmc");
}

} // namespace
