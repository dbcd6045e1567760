// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/cpld_manager.hpp"
#include "../support/host.hpp"
#include "../support/security_manager.hpp"
#include "../support/settings.hpp"
#include "../support/temporary_directory.hpp"
#include "platform.hpp"
#include "site_words.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <variant>

// What a path may be where an image is expected. A CPLD image is sent by its
// path unless the path is missing or cannot be examined; of BMC and BIOS images
// the core library decides what can be read.

using namespace test;

namespace
{

namespace fs = std::filesystem;

/** What becomes of a path as a CPLD image's: it is sent, it is called missing,
 *  or this is thrown, up to the path's name.
 */
struct Sent
{};

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

    /** An upload ends as at a call site, except for the image's path; or
     * nothing is asked of any service.
     */
    void expectUpload(const CallSite& site,
                      const wexa::core::UploadResult& result,
                      const Events& calls, const std::string& what)
    {
        if (GetParam().isReadable)
        {
            EXPECT_EQ(asText(result), site.success.result);
            EXPECT_EQ(sent(), calls);
            return;
        }
        EXPECT_EQ(asText(result), "{}");
        EXPECT_EQ(events(),
                  (Events{site.before.front(),
                          errNotFlushed("Unable to read version from " + what +
                                        "\n")}));
        EXPECT_EQ(sent(), Events{});
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

    if (std::holds_alternative<Sent>(GetParam().asCpldImage))
    {
        EXPECT_EQ(result, "{odd: 0 0, versionString: 4 1.2}");
        EXPECT_EQ(sent(), (Events{cpld_manager::registryCall(),
                                  cpld_manager::call(
                                      cpldDevice, "readImageFileInfo", path)}));
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
    const auto& site = siteNamed("UploadBmcRecordingTheVersion");
    startHealthy(site);
    const auto path = make(bmcImage());
    expectUpload(
        site, manager.processUploadBmcImage(path, Manager::UPLOAD_IMG_BMC, ""),
        {security_manager::call("verifyBmc", path), site.call}, "image");
}

TEST_P(ImagePath, IsReadAsABiosImageOrRefused)
{
    const auto& site = siteNamed("UploadBiosRecordingTheVersion");
    startHealthy(site);
    const auto path = make(biosImage());
    expectUpload(
        site,
        manager.processUploadBiosImage(path, Manager::UPLOAD_IMG_BIOS, ""),
        {host::call(), security_manager::call("verifyBios", path), site.call,
         settings::call()},
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

class CrowdedDirectory : public Platform
{
  protected:
    /** Where making files is fast. */
    TemporaryDirectory directory{"/dev/shm"};
};

TEST_F(CrowdedDirectory, IsSearchedForTheSignedImageAmongAHundredThousandFiles)
{
    for (int number = 0; number < 100'000; ++number)
    {
        const auto entry = directory.file("entry" + std::to_string(number));
        check(mknod(entry.c_str(), S_IFREG | 0600, 0) < 0 ? -errno : 0,
              "mknod");
    }
    const auto image = directory.file("image_cpld_signed.bin");
    writeBytes(image, "image");
    const auto& site = siteNamed("DescribeCpldImageAskingTheDevice");
    startHealthy(site);

    EXPECT_EQ(asText(manager.getCPLDImageFileInfo("MB", directory.path())),
              site.success.result);

    EXPECT_EQ(sent(), (Events{cpld_manager::registryCall(),
                              cpld_manager::call(cpldDevice,
                                                 "readImageFileInfo", image)}));
}

/** The image is gone before it is asked about; the library does not look at it
 *  any more.
 */
class RemovedImage : public Platform
{
  protected:
    static void SetUpTestSuite()
    {
        makeImages();
    }

    const TemporaryDirectory directory;
    const std::string path = directory.file("image");
    const std::function<void()> remove = [this] { fs::remove(path); };
};

TEST_F(RemovedImage, IsStillAskedAboutByItsPath)
{
    const auto& site = siteNamed("DescribeCpldImageAskingTheDevice");
    startHealthy(site);
    writeBytes(path, "image");
    const BeforeCall disturbance{"bindedDevices", remove};

    EXPECT_EQ(asText(manager.getCPLDImageFileInfo("MB", path)),
              site.success.result);

    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(sent(), (Events{cpld_manager::registryCall(),
                              cpld_manager::call(cpldDevice,
                                                 "readImageFileInfo", path)}));
}

TEST_F(RemovedImage, IsStillVerifiedAndRecordedByItsPath)
{
    const auto& site = siteNamed("UploadBmcRecordingTheVersion");
    startHealthy(site);
    writeBytes(path, bytesOf(bmcImage()));
    const BeforeCall disturbance{"verifyBmc", remove};

    EXPECT_EQ(asText(manager.processUploadBmcImage(
                  path, Manager::UPLOAD_IMG_BMC, "")),
              site.success.result);

    EXPECT_FALSE(fs::exists(path));
    EXPECT_EQ(sent(),
              (Events{security_manager::call("verifyBmc", path), site.call}));
}

} // namespace
