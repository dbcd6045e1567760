// SPDX-License-Identifier: Apache-2.0
#include "../support/firmware_information.hpp"
#include "../support/images.hpp"
#include "../support/library_test.hpp"
#include "../support/security_manager.hpp"
#include "../support/signatures.hpp"

// processUploadBmcImage: the version is read, the image verified, the version
// recorded; each step only after the one before it has succeeded.

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using wexa::core::FWManagerInternal;

namespace
{

class UploadBmc : public LibraryTest
{
  protected:
    void securityManagerAnswers(Reply reply)
    {
        offer(security_manager::service,
              {security_manager::method("verifyBmc", std::move(reply))});
    }

    void recordAnswers(Reply reply)
    {
        offer(firmware_information::service,
              {firmware_information::set(std::move(reply))});
    }

    wexa::core::UploadResult upload(const std::string& imagePath,
                                    FWManagerInternal::UPLOAD_IMG_TYPE type =
                                        FWManagerInternal::UPLOAD_IMG_BMC,
                                    const std::string& extra = "")
    {
        return manager.processUploadBmcImage(imagePath, type, extra);
    }

    Images images;
};

TEST_F(UploadBmc, ReadsVerifiesAndRecordsAnImage)
{
    securityManagerAnswers(reply::boolean(true));
    recordAnswers(reply::nothing());
    const auto image = images.bmc("2.14.0-rc1");

    EXPECT_THAT(upload(image), ElementsAre(Pair("extendedVersion", ""),
                                           Pair("version", "2.14.0-rc1")));

    EXPECT_THAT(events(),
                ElementsAre(uploadSignature("processUploadBmcImage"),
                            signature("VerifyBMC"),
                            out("verify image: " + image), "call: verifyBmc",
                            out("Verify OK"), "call: Set"));
    EXPECT_THAT(sent(), ElementsAre(security_manager::call("verifyBmc", image),
                                    firmware_information::call("stagingBMC",
                                                               "2.14.0-rc1")));
}

TEST_F(UploadBmc, RecordsAVersionOfDigitsAsAText)
{
    securityManagerAnswers(reply::boolean(true));
    recordAnswers(reply::nothing());
    const auto image = images.bmc("20240315");

    EXPECT_THAT(upload(image), ElementsAre(Pair("extendedVersion", ""),
                                           Pair("version", "20240315")));

    EXPECT_THAT(sent(), ElementsAre(security_manager::call("verifyBmc", image),
                                    firmware_information::call("stagingBMC",
                                                               "20240315")));
}

TEST_F(UploadBmc, TakesTheSameImageAgain)
{
    securityManagerAnswers(reply::boolean(true));
    recordAnswers(reply::nothing());
    const auto image = images.bmc("1.0");

    const auto first = upload(image);
    EXPECT_EQ(upload(image), first);

    EXPECT_THAT(sent(),
                ElementsAre(security_manager::call("verifyBmc", image),
                            firmware_information::call("stagingBMC", "1.0"),
                            security_manager::call("verifyBmc", image),
                            firmware_information::call("stagingBMC", "1.0")));
}

TEST_F(UploadBmc, LooksNeitherAtTheTypeNorAtTheThirdArgument)
{
    securityManagerAnswers(reply::boolean(true));
    recordAnswers(reply::nothing());
    const auto image = images.bmc("1.0");

    for (const auto type : {0, 1, 2, 3, -1, 1000})
    {
        for (const auto* extra : {"", "MB_CPLD", "\xff"})
        {
            EXPECT_THAT(
                upload(image,
                       static_cast<FWManagerInternal::UPLOAD_IMG_TYPE>(type),
                       extra),
                ElementsAre(Pair("extendedVersion", ""),
                            Pair("version", "1.0")));
            EXPECT_THAT(
                sent(),
                ElementsAre(security_manager::call("verifyBmc", image),
                            firmware_information::call("stagingBMC", "1.0")));
        }
    }
}

struct Unreadable
{
    std::string name;
    std::function<std::string(const Images&)> make;
};

class UploadBmcRefuses :
    public UploadBmc,
    public testing::WithParamInterface<Unreadable>
{};

TEST_P(UploadBmcRefuses, WithoutAskingAnyone)
{
    securityManagerAnswers(reply::boolean(true));
    recordAnswers(reply::nothing());

    EXPECT_THAT(upload(GetParam().make(images)), IsEmpty());

    EXPECT_THAT(
        events(),
        ElementsAre(uploadSignature("processUploadBmcImage"),
                    errNotFlushed("Unable to read version from image\n")));
    EXPECT_THAT(sent(), IsEmpty());
}

Unreadable broken(const std::string& name, const std::string& how)
{
    return {name, [how](const Images& images) {
                return images.make("broken", {"--kind", "bmc", "--version",
                                              "1.0", "--broken", how});
            }};
}

INSTANTIATE_TEST_SUITE_P(
    UploadBmc, UploadBmcRefuses,
    testing::Values(
        Unreadable{"AMissingFile",
                   [](const Images& images) { return images.missing(); }},
        Unreadable{"ADirectory",
                   [](const Images& images) { return images.folder(); }},
        Unreadable{"AnEmptyPath", [](const Images&) { return ""; }},
        Unreadable{"AnImageOfAnotherKind",
                   [](const Images& images) {
                       return images.make(
                           "bios", {"--kind", "bios", "--version", "1.0"});
                   }},
        broken("AnEmptyFile", "empty"), broken("ATruncatedImage", "truncated"),
        broken("AHeaderAlone", "header-only"), broken("AnotherMagic", "magic"),
        broken("AVersionLongerThanTheFile", "version-length"),
        broken("AnImageWithoutAVersion", "no-version")),
    [](const auto& row) { return row.param.name; });

TEST_F(UploadBmc, RecordsNothingOfAnImageThatIsNotAuthentic)
{
    securityManagerAnswers(reply::boolean(false));
    recordAnswers(reply::nothing());
    const auto image = images.bmc("1.0");

    EXPECT_THAT(upload(image), IsEmpty());

    EXPECT_THAT(events(),
                ElementsAre(uploadSignature("processUploadBmcImage"),
                            signature("VerifyBMC"),
                            out("verify image: " + image), "call: verifyBmc",
                            out("Verify false"),
                            err("Error !! VerifyBMC failed. image: " + image)));
    EXPECT_THAT(sent(),
                ElementsAre(security_manager::call("verifyBmc", image)));
}

TEST_F(UploadBmc, RecordsNothingWhereTheSecurityManagerIsAbsent)
{
    recordAnswers(reply::nothing());
    const auto image = images.bmc("1.0");

    EXPECT_THAT(upload(image), IsEmpty());

    EXPECT_THAT(
        events(),
        ElementsAre(uploadSignature("processUploadBmcImage"),
                    signature("VerifyBMC"), out("verify image: " + image),
                    security_manager::failure("sd_bus_call: " +
                                              bus.program().serviceUnknown(
                                                  security_manager::service)),
                    err("Error !! VerifyBMC failed. image: " + image)));
    EXPECT_THAT(sent(),
                ElementsAre(security_manager::call("verifyBmc", image)));
}

TEST_F(UploadBmc, EndsWhereNoCallCanBeCreated)
{
    auto broken = unconnected();
    FWManagerInternal onBroken{broken};
    const auto image = images.bmc("1.0");

    EXPECT_EQ(thrownText<sdbusplus::exception::SdBusError>([&] {
                  onBroken.processUploadBmcImage(
                      image, FWManagerInternal::UPLOAD_IMG_BMC, "");
              }),
              creationFailure);

    EXPECT_THAT(events(), ElementsAre(uploadSignature("processUploadBmcImage"),
                                      signature("VerifyBMC")));
}

} // namespace
