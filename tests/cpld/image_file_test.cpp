// SPDX-License-Identifier: Apache-2.0
#include "cpld_test.hpp"

#include <sys/stat.h>
#include <unistd.h>

// getCPLDImageFileInfo and getCPLDImageFileVersionString: the image is found,
// then its device; then the device is asked.

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using wexa::core::PropertyMap;
using wexa::core::PropertyValue;

namespace
{

class ImageFile : public CpldTest
{
  protected:
    void deviceAnswers(Reply reply)
    {
        offerManager(
            {cpld_manager::method(mb, "readImageFileInfo", std::move(reply))});
    }

    void deviceTells(const std::vector<cpld_manager::Properties>& properties)
    {
        deviceAnswers(cpld_manager::properties(properties));
    }

    PropertyMap info(const std::string& path,
                     const std::string& component = "MB_CPLD")
    {
        return manager.getCPLDImageFileInfo(component, path);
    }

    std::string version(const std::string& path,
                        const std::string& component = "MB_CPLD")
    {
        return manager.getCPLDImageFileVersionString(component, path);
    }

    /** The path that the device was asked about. */
    void expectAskedAbout(const std::string& path)
    {
        EXPECT_THAT(sent(), ElementsAre(cpld_manager::registryCall(),
                                        cpld_manager::call(
                                            mb, "readImageFileInfo", path)));
    }

    static std::string deviceFailure(const std::string& path,
                                     const std::string& what)
    {
        return err("ERROR !! Failed to prepare CPLD image file info: "
                   "(xyz.openbmc_project.CpldUpdateMgrSvc, " +
                   std::string(mb) +
                   ", xyz.openbmc_project.cpld_update_mgr.CpldDevice, image "
                   "file: " +
                   path + "): " + what);
    }

    static std::string missing(const std::string& path)
    {
        return err("ERROR !! File " + path + " does NOT exists");
    }

    static constexpr auto noMember =
        "sd_bus_message_new_method_call: "
        "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument";
};

TEST_F(ImageFile, IsDescribedByItsDevice)
{
    deviceTells({cpld_manager::text("versionString", "1.2"),
                 cpld_manager::property("size", "u", std::uint32_t{8}),
                 cpld_manager::property("odd", "d", 1.5)});
    const auto path = file();

    EXPECT_THAT(info(path),
                ElementsAre(Pair("odd", PropertyValue()),
                            Pair("size", PropertyValue(std::uint32_t{8})),
                            Pair("versionString", PropertyValue("1.2"))));

    EXPECT_THAT(events(),
                ElementsAre("call: bindedDevices", "call: readImageFileInfo"));
    expectAskedAbout(path);
}

TEST_F(ImageFile, IsSentUnchangedWhateverItsName)
{
    deviceTells({});
    const auto path = file("x_image_cpld_signed.bin");
    EXPECT_THAT(info(path), IsEmpty());
    expectAskedAbout(path);
}

TEST_F(ImageFile, IsTheSignedOneOfADirectory)
{
    deviceTells({});
    file("a.bin");
    const auto image = file("x_image_cpld_signed.bin");
    info(directory.path());
    expectAskedAbout(image);
    info(directory.path().string() + "/");
    expectAskedAbout(directory.path().string() + "/x_image_cpld_signed.bin");
}

TEST_F(ImageFile, IsTheDirectoryWhereNothingInItIsSigned)
{
    deviceTells({});
    file("a.bin");
    file("IMAGE_CPLD_SIGNED");
    info(directory.path());
    expectAskedAbout(directory.path());
}

TEST_F(ImageFile, IsTheFirstEntryOfADirectoryThatIsNamedLikeIt)
{
    deviceTells({});
    const auto named = directory.file("image_cpld_signed.d");
    std::filesystem::create_directory(named);
    info(named);
    expectAskedAbout(named);
    writeBytes(named + "/any", "image");
    info(named);
    expectAskedAbout(named + "/any");
}

TEST_F(ImageFile, OfADirectoryThatMayNotBeReadEndsTheOperation)
{
    deviceTells({});
    const auto closed = directory.file("closed");
    std::filesystem::create_directory(closed);
    ASSERT_EQ(chmod(closed.c_str(), 0), 0);
    ASSERT_EQ(chmod(directory.path().c_str(), 0755), 0);
    // Root may read all directories.
    const auto caller = geteuid();
    ASSERT_EQ(caller == 0 ? seteuid(65534) : 0, 0);
    const auto thrown =
        thrownText<std::filesystem::filesystem_error>([&] { info(closed); });
    ASSERT_EQ(seteuid(caller), 0);

    EXPECT_EQ(thrown,
              "filesystem error: directory iterator cannot open directory: "
              "Permission denied [" +
                  closed + "]");
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(ImageFile, OfAComponentThatIsNotBoundEndsTheOperation)
{
    deviceTells({});
    for (const auto* component : {"", "mb_cpld", "FAN"})
    {
        EXPECT_EQ(thrownText<sdbusplus::exception::SdBusError>(
                      [&] { info(file(), component); }),
                  noMember);
        EXPECT_EQ(thrownText<sdbusplus::exception::SdBusError>(
                      [&] { version(file(), component); }),
                  noMember);
        EXPECT_THAT(events(),
                    ElementsAre("call: bindedDevices", "call: bindedDevices"));
    }
}

TEST_F(ImageFile, OfADeviceWithoutAPathEndsTheOperation)
{
    for (const auto* path : {"", "no/slash"})
    {
        offerManagerWith(cpld_manager::registry({{"MB_CPLD", path, "d", {}}}));
        EXPECT_EQ(
            thrownText<sdbusplus::exception::SdBusError>([&] { info(file()); }),
            noMember);
        EXPECT_THAT(events(), ElementsAre("call: bindedDevices"));
    }
}

TEST_F(ImageFile, ThatCannotBeDescribedIsToldByThePickedFile)
{
    deviceAnswers(reply::error("xyz.openbmc_project.Error", "No image."));
    const auto picked = file("image_cpld_signed");

    EXPECT_THAT(info(directory.path()), IsEmpty());

    EXPECT_THAT(
        events(),
        ElementsAre("call: bindedDevices", "call: readImageFileInfo",
                    deviceFailure(picked, "sd_bus_call: "
                                          "xyz.openbmc_project.Error: No "
                                          "image.")));
}

TEST_F(ImageFile, HasTheVersionThatItsDeviceTells)
{
    deviceTells({cpld_manager::text("versionString", "1.2")});
    EXPECT_EQ(version(file()), "1.2");
    EXPECT_THAT(events(),
                ElementsAre("call: bindedDevices", "call: readImageFileInfo"));
}

TEST_F(ImageFile, HasNoVersionWhereNothingIsTold)
{
    deviceTells({});
    EXPECT_EQ(version(file()), "");
    EXPECT_THAT(events(),
                ElementsAre("call: bindedDevices", "call: readImageFileInfo",
                            err("Failed to get cpld image file info")));

    const auto path = directory.file("missing");
    EXPECT_EQ(version(path), "");
    EXPECT_THAT(
        events(),
        ElementsAre(missing(path), err("Failed to get cpld image file info")));
}

TEST_F(ImageFile, HasNoVersionWhereTheVersionIsNotTold)
{
    deviceTells({cpld_manager::text("VersionString", "1.2")});
    EXPECT_EQ(version(file()), "");
    EXPECT_THAT(events(),
                ElementsAre("call: bindedDevices", "call: readImageFileInfo",
                            err("Failed to get cpld image version string")));
}

TEST_F(ImageFile, HasNoVersionWhereItIsEmpty)
{
    deviceTells({cpld_manager::text("versionString", "")});
    EXPECT_EQ(version(file()), "");
    EXPECT_THAT(events(),
                ElementsAre("call: bindedDevices", "call: readImageFileInfo",
                            err("Version string is empty")));
}

TEST_F(ImageFile, EndsTheOperationWhereTheVersionIsNoText)
{
    for (const auto& odd :
         {cpld_manager::property("versionString", "u", std::uint32_t{1}),
          cpld_manager::property("versionString", "b", 1),
          cpld_manager::property("versionString", "o", "/path")})
    {
        deviceTells({odd});
        EXPECT_EQ(thrownText<std::bad_variant_access>([&] { version(file()); }),
                  "std::get: wrong index for variant");
        EXPECT_THAT(events(), ElementsAre("call: bindedDevices",
                                          "call: readImageFileInfo"));
    }
}

} // namespace
