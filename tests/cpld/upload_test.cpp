// SPDX-License-Identifier: Apache-2.0
#include "../support/signatures.hpp"
#include "cpld_test.hpp"

// processUploadCpldImage: the version is read, then the image verified.

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace
{

class UploadCpld : public CpldTest
{
  protected:
    void deviceAnswers(Reply info, Reply verification)
    {
        offerManager(
            {cpld_manager::method(mb, "readImageFileInfo", std::move(info)),
             cpld_manager::method(mb, "verifyCPLD", std::move(verification))});
    }

    static Reply version(const std::string& text)
    {
        return cpld_manager::properties(
            {cpld_manager::text("versionString", text)});
    }

    wexa::core::UploadResult
    upload(const std::string& path, const std::string& component = "MB_CPLD",
           Manager::UPLOAD_IMG_TYPE type = Manager::UPLOAD_IMG_CPLD)
    {
        return manager.processUploadCpldImage(path, type, component);
    }

    /** What is said and asked until the device has judged. */
    static std::vector<std::string> untilVerdict(const std::string& path);
};

std::vector<std::string> UploadCpld::untilVerdict(const std::string& path)
{
    return {uploadSignature("processUploadCpldImage"),
            "call: bindedDevices",
            "call: readImageFileInfo",
            signature("VerifyCPLD"),
            out("Verify MB_CPLD, image: " + path),
            "call: bindedDevices",
            out("verify image: " + path),
            "call: verifyCPLD"};
}

TEST_F(UploadCpld, TellsVersionComponentAndNameOfAnAcceptedImage)
{
    deviceAnswers(version("1.2"), reply::boolean(true));
    const auto path = file();

    EXPECT_THAT(upload(path), ElementsAre(Pair("exposeName", "Staging_MB_CPLD"),
                                          Pair("extendedVersion", "MB_CPLD"),
                                          Pair("version", "1.2")));

    auto expected = untilVerdict(path);
    expected.push_back(out("Verify OK"));
    EXPECT_EQ(events(), expected);
}

TEST_F(UploadCpld, ReadsThePickedFileAndVerifiesThePathAsGiven)
{
    deviceAnswers(version("1.2"), reply::boolean(true));
    const auto picked = file("image_cpld_signed");

    EXPECT_EQ(upload(directory.path()).size(), 3U);

    EXPECT_THAT(
        sent(),
        ElementsAre(cpld_manager::registryCall(),
                    cpld_manager::call(mb, "readImageFileInfo", picked),
                    cpld_manager::registryCall(),
                    cpld_manager::call(mb, "verifyCPLD", directory.path())));
}

TEST_F(UploadCpld, LooksNotAtTheType)
{
    deviceAnswers(version("1.2"), reply::boolean(true));
    const auto path = file();
    for (const auto type : {0, 1, 2, 3, -1, 1000})
    {
        EXPECT_EQ(
            upload(path, "MB_CPLD", static_cast<Manager::UPLOAD_IMG_TYPE>(type))
                .size(),
            3U);
    }
}

TEST_F(UploadCpld, VerifiesNothingWithoutAVersion)
{
    deviceAnswers(version(""), reply::boolean(true));
    const auto path = file();

    EXPECT_THAT(upload(path), IsEmpty());

    EXPECT_THAT(events(),
                ElementsAre(uploadSignature("processUploadCpldImage"),
                            "call: bindedDevices", "call: readImageFileInfo",
                            err("Version string is empty"),
                            err("Error !! Failed to get version string from "
                                "image file: " +
                                path)));
}

TEST_F(UploadCpld, MakesNoCallForAMissingFile)
{
    deviceAnswers(version("1"), reply::boolean(true));
    const auto path = directory.file("missing");

    EXPECT_THAT(upload(path), IsEmpty());

    EXPECT_THAT(events(),
                ElementsAre(uploadSignature("processUploadCpldImage"),
                            err("ERROR !! File " + path + " does NOT exists"),
                            err("Failed to get cpld image file info"),
                            err("Error !! Failed to get version string from "
                                "image file: " +
                                path)));
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(UploadCpld, RefusesWhatTheDeviceRefuses)
{
    deviceAnswers(version("1.2"), reply::boolean(false));
    const auto path = file();

    EXPECT_THAT(upload(path), IsEmpty());

    auto expected = untilVerdict(path);
    expected.push_back(out("Verify failed"));
    expected.push_back(
        err("Error !! VerifyCPLD failed. comp: MB_CPLD, image: " + path));
    EXPECT_EQ(events(), expected);
}

TEST_F(UploadCpld, RefusesWhatTheDeviceCannotJudge)
{
    deviceAnswers(version("1.2"), reply::error("x.Busy", "Busy."));
    const auto path = file();

    EXPECT_THAT(upload(path), IsEmpty());

    auto expected = untilVerdict(path);
    expected.push_back(
        err("Error in security method call for (" + std::string(mb) +
            ", xyz.openbmc_project.cpld_update_mgr.CpldDevice: sd_bus_call: "
            "x.Busy: Busy."));
    expected.push_back(
        err("Error !! VerifyCPLD failed. comp: MB_CPLD, image: " + path));
    EXPECT_EQ(events(), expected);
}

TEST_F(UploadCpld, EndsWhereTheComponentIsNotBound)
{
    deviceAnswers(version("1.2"), reply::boolean(true));
    for (const auto* component : {"", "FAN"})
    {
        EXPECT_EQ(thrownText<sdbusplus::exception::SdBusError>(
                      [&] { upload(file(), component); }),
                  "sd_bus_message_new_method_call: "
                  "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument");
        EXPECT_THAT(events(),
                    ElementsAre(uploadSignature("processUploadCpldImage"),
                                "call: bindedDevices"));
    }
}

TEST_F(UploadCpld, RefusesAComponentWithoutANameEvenIfItIsBound)
{
    offerManagerWith(
        cpld_manager::registry({{"", mb, "jtag", {}}}),
        {cpld_manager::method(mb, "readImageFileInfo", version("1.2"))});
    const auto path = file();

    EXPECT_THAT(upload(path, ""), IsEmpty());

    EXPECT_THAT(
        events(),
        ElementsAre(uploadSignature("processUploadCpldImage"),
                    "call: bindedDevices", "call: readImageFileInfo",
                    signature("VerifyCPLD"), out("Verify , image: " + path),
                    err("ERROR !! Failed to obtain component name."),
                    err("Error !! VerifyCPLD failed. comp: , image: " + path)));
}

TEST_F(UploadCpld, EndsWhereTheVersionIsNoText)
{
    deviceAnswers(cpld_manager::properties({cpld_manager::property(
                      "versionString", "u", std::uint32_t{1})}),
                  reply::boolean(true));

    EXPECT_EQ(thrownText<std::bad_variant_access>([&] { upload(file()); }),
              "std::get: wrong index for variant");
}

} // namespace
