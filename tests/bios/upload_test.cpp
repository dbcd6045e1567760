// SPDX-License-Identifier: Apache-2.0
#include "../support/disturbed_call.hpp"
#include "upload_bios.hpp"

// processUploadBiosImage: the content tells an image from a capsule; each
// step is taken only after the one before it has succeeded.

using namespace test;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace
{

using UploadBiosTest = UploadBios;

TEST_F(UploadBiosTest, TakesAnImageThroughEveryStepInItsOrder)
{
    everyoneAgrees();
    const auto image = bios("1.4b");

    EXPECT_THAT(upload(image), ElementsAre(Pair("applyTime", "OnReset"),
                                           Pair("extendedVersion", ""),
                                           Pair("version", "1.4b")));

    EXPECT_THAT(events(),
                ElementsAre(uploadSignature("processUploadBiosImage"),
                            "call: Get", signature("VerifyBIOS"),
                            out("verify image: " + image), "call: verifyBios",
                            out("Verify OK"), "call: Set", "call: Get"));
    EXPECT_THAT(
        sent(),
        ElementsAre(host::call(), security_manager::call("verifyBios", image),
                    firmware_information::call(
                        "stagingBIOS", "BIOS Date: 03/15/2024 Ver 1.4b"),
                    settings::call()));
    EXPECT_THAT(core.calls,
                ElementsAre("check_bios_seamless_capsule " + image,
                            "get_bios_version_from_image " + image + " 64 64",
                            "get_bios_board_id " + image));
}

TEST_F(UploadBiosTest, TakesACapsuleOfEachKindWithoutABoardCheck)
{
    everyoneAgrees();
    for (const auto kind : {1, 2, 3})
    {
        const auto image = capsule("1.7", kind);
        core.calls.clear();

        EXPECT_THAT(upload(image), ElementsAre(Pair("applyTime", "OnReset"),
                                               Pair("extendedVersion", ""),
                                               Pair("version", "1.7")));

        EXPECT_THAT(events(),
                    ElementsAre(uploadSignature("processUploadBiosImage"),
                                signature("VerifyCapsule"),
                                out("verify image: " + image),
                                "call: verifyCapsule", out("Verify OK"),
                                "call: Set", "call: Get"));
        EXPECT_THAT(
            sent(),
            ElementsAre(security_manager::call("verifyCapsule", image),
                        firmware_information::call("stagingCapsuleMCU", "1.7"),
                        settings::call()));
        EXPECT_THAT(core.calls,
                    ElementsAre("check_bios_seamless_capsule " + image,
                                "get_capsule_version_from_image " + image +
                                    " 64 " + std::to_string(kind)));
    }
}

TEST_F(UploadBiosTest, TakesEveryOtherCheckResultForAnImage)
{
    everyoneAgrees();
    const auto image = bios("1");
    for (const auto result : {0, 4, -1, -5, 1 << 8, 1 << 16})
    {
        core.capsuleKind = result;

        EXPECT_THAT(upload(image), ElementsAre(Pair("applyTime", "OnReset"),
                                               Pair("extendedVersion", ""),
                                               Pair("version", "1")));
        EXPECT_THAT(
            sent(),
            ElementsAre(host::call(),
                        security_manager::call("verifyBios", image),
                        firmware_information::call(
                            "stagingBIOS", "BIOS Date: 03/15/2024 Ver 1"),
                        settings::call()));
    }
}

TEST_F(UploadBiosTest, CutsTextsAtSixtyThreeCharacters)
{
    everyoneAgrees();
    for (const auto length : {63, 64, 200})
    {
        const std::string whole(static_cast<std::size_t>(length), 'v');
        const std::string kept(63, 'v');
        const std::string date(63, 'd');

        EXPECT_EQ(upload(bios(whole, date)).at("version"), kept);
        EXPECT_EQ(sent().at(2),
                  firmware_information::call(
                      "stagingBIOS", "BIOS Date: " + date + " Ver " + kept));

        EXPECT_EQ(upload(capsule(whole)).at("version"), kept);
        EXPECT_EQ(sent().at(1),
                  firmware_information::call("stagingCapsuleMCU", kept));
    }
}

TEST_F(UploadBiosTest, RecordsAnEmptyDateAndVersionAsTheyAre)
{
    everyoneAgrees();
    EXPECT_EQ(upload(bios("1", "")).at("version"), "1");
    EXPECT_EQ(sent().at(2),
              firmware_information::call("stagingBIOS", "BIOS Date:  Ver 1"));
}

TEST_F(UploadBiosTest, LooksNeitherAtTheTypeNorAtTheThirdArgument)
{
    everyoneAgrees();
    const auto image = bios("1");
    const auto aCapsule = capsule("2");
    for (const auto type : {0, 1, 2, 3, -1, 1000})
    {
        for (const auto* extra : {"", "MB_CPLD", "\xff"})
        {
            const auto given = static_cast<Manager::UPLOAD_IMG_TYPE>(type);
            EXPECT_EQ(upload(image, given, extra).at("version"), "1");
            EXPECT_EQ(sent().size(), 4U);
            EXPECT_EQ(upload(aCapsule, given, extra).at("version"), "2");
            EXPECT_EQ(sent().size(), 3U);
        }
    }
}

TEST_F(UploadBiosTest, TellsAnUnreadableImageWithoutAskingAnyone)
{
    everyoneAgrees();
    const auto broken = images.make("broken", {"--kind", "bios", "--version",
                                               "1", "--broken", "truncated"});
    const auto anotherKind = images.bmc("1");
    for (const auto& path : {images.missing(), images.folder(), std::string(),
                             broken, anotherKind})
    {
        EXPECT_THAT(upload(path), IsEmpty());
        EXPECT_THAT(
            events(),
            ElementsAre(
                uploadSignature("processUploadBiosImage"),
                errNotFlushed("Unable to read version from bios image\n")));
        EXPECT_THAT(sent(), IsEmpty());
    }
}

TEST_F(UploadBiosTest, TellsAnUnreadableCapsuleWithoutAskingAnyone)
{
    everyoneAgrees();
    core.capsuleKind = 2;

    EXPECT_THAT(upload(bios("1")), IsEmpty());

    EXPECT_THAT(
        events(),
        ElementsAre(
            uploadSignature("processUploadBiosImage"),
            errNotFlushed("Unable to read version from capsule image\n")));
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(UploadBiosTest, VerifiesNothingThatIsForAnotherBoard)
{
    everyoneAgrees();
    hostAnswers(reply::shortVariant(8));

    EXPECT_THAT(upload(bios("1")), IsEmpty());

    EXPECT_THAT(events(), ElementsAre(uploadSignature("processUploadBiosImage"),
                                      "call: Get",
                                      errNotFlushed("boardID is mismatch\n")));
    EXPECT_THAT(sent(), ElementsAre(host::call()));
}

TEST_F(UploadBiosTest, VerifiesNothingWhereTheHostIsAbsent)
{
    everyoneAgrees();
    services.erase(host::service);

    EXPECT_THAT(upload(bios("1")), IsEmpty());

    EXPECT_THAT(events(),
                ElementsAre(uploadSignature("processUploadBiosImage"),
                            err("boardID is mismatch: sd_bus_call: " +
                                bus.program().serviceUnknown(host::service))));
    EXPECT_THAT(sent(), ElementsAre(host::call()));
}

TEST_F(UploadBiosTest, RecordsNothingThatIsNotAuthentic)
{
    everyoneAgrees();
    securityManagerAnswers(reply::boolean(false));

    auto image = bios("1");
    EXPECT_THAT(upload(image), IsEmpty());
    EXPECT_THAT(
        events(),
        ElementsAre(uploadSignature("processUploadBiosImage"), "call: Get",
                    signature("VerifyBIOS"), out("verify image: " + image),
                    "call: verifyBios", out("Verify false"),
                    err("Error !! VerifyBIOS failed. image: " + image)));
    EXPECT_THAT(sent(), ElementsAre(host::call(), security_manager::call(
                                                      "verifyBios", image)));

    image = capsule("1");
    EXPECT_THAT(upload(image), IsEmpty());
    EXPECT_THAT(
        events(),
        ElementsAre(uploadSignature("processUploadBiosImage"),
                    signature("VerifyCapsule"), out("verify image: " + image),
                    "call: verifyCapsule", out("Verify false"),
                    err("Error !! VerifyCapsule failed. image: " + image)));
    EXPECT_THAT(sent(),
                ElementsAre(security_manager::call("verifyCapsule", image)));
}

TEST_F(UploadBiosTest, RecordsNothingWhereTheSecurityManagerIsAbsent)
{
    everyoneAgrees();
    services.erase(security_manager::service);
    const auto failure = security_manager::failure(
        "sd_bus_call: " +
        bus.program().serviceUnknown(security_manager::service));

    auto image = bios("1");
    EXPECT_THAT(upload(image), IsEmpty());
    EXPECT_THAT(
        events(),
        ElementsAre(uploadSignature("processUploadBiosImage"), "call: Get",
                    signature("VerifyBIOS"), out("verify image: " + image),
                    failure,
                    err("Error !! VerifyBIOS failed. image: " + image)));

    image = capsule("1");
    EXPECT_THAT(upload(image), IsEmpty());
    EXPECT_THAT(
        events(),
        ElementsAre(uploadSignature("processUploadBiosImage"),
                    signature("VerifyCapsule"), out("verify image: " + image),
                    failure,
                    err("Error !! VerifyCapsule failed. image: " + image)));
}

TEST_F(UploadBiosTest, EndsWhereACallCannotBeCreated)
{
    everyoneAgrees();
    for (const auto* member : {"Get", "verifyBios", "Set"})
    {
        const RefusedCall refused{member};
        EXPECT_EQ(thrownText<sdbusplus::exception::SdBusError>(
                      [this] { upload(bios("1")); }),
                  creationFailure)
            << member;
    }
    EXPECT_THAT(events(), Each(testing::Not(testing::StartsWith("err"))));
}

} // namespace
