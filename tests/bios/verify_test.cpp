// SPDX-License-Identifier: Apache-2.0
#include "upload_bios.hpp"

// VerifyBIOS and VerifyCapsule: the security manager alone decides.

using namespace test;
using testing::ElementsAre;
using wexa::core::VersionPurpose;

namespace
{

struct Verification
{
    std::string name;
    int (wexa::core::FWManagerInternal::*verify)(std::string, VersionPurpose,
                                                 std::string);
    std::string member;
    std::string signature;
};

class VerifyBios :
    public UploadBios,
    public testing::WithParamInterface<Verification>
{
  protected:
    int verify(const std::string& imagePath,
               VersionPurpose purpose = VersionPurpose::Host,
               const std::string& extra = "")
    {
        return (manager.*GetParam().verify)(imagePath, purpose, extra);
    }

    const std::string& signature = GetParam().signature;
    const std::string& member = GetParam().member;
};

INSTANTIATE_TEST_SUITE_P(
    Kinds, VerifyBios,
    testing::Values(Verification{"Image",
                                 &wexa::core::FWManagerInternal::VerifyBIOS,
                                 "verifyBios", signature("VerifyBIOS")},
                    Verification{"Capsule",
                                 &wexa::core::FWManagerInternal::VerifyCapsule,
                                 "verifyCapsule", signature("VerifyCapsule")}),
    [](const auto& row) { return row.param.name; });

TEST_P(VerifyBios, AcceptsWhatTheSecurityManagerCallsAuthentic)
{
    securityManagerAnswers(reply::boolean(true));

    EXPECT_EQ(verify("/tmp/images/7f3e/image-bios"), 0);

    EXPECT_THAT(events(),
                ElementsAre(signature,
                            out("verify image: /tmp/images/7f3e/image-bios"),
                            "call: " + member, out("Verify OK")));
    EXPECT_THAT(sent(), ElementsAre(security_manager::call(
                            member, "/tmp/images/7f3e/image-bios")));
}

TEST_P(VerifyBios, RefusesWhatTheSecurityManagerDoesNotAccept)
{
    securityManagerAnswers(reply::boolean(false));

    EXPECT_EQ(verify("/tmp/image"), -1);

    EXPECT_THAT(events(),
                ElementsAre(signature, out("verify image: /tmp/image"),
                            "call: " + member, out("Verify false")));
}

TEST_P(VerifyBios, LooksNeitherAtThePurposeNorAtTheThirdArgument)
{
    securityManagerAnswers(reply::boolean(true));

    for (const auto purpose : {VersionPurpose::BMC, VersionPurpose::Unknown,
                               static_cast<VersionPurpose>(1000)})
    {
        for (const auto* extra : {"", "MB_CPLD", "\xff"})
        {
            EXPECT_EQ(verify("/tmp/image", purpose, extra), 0);
            EXPECT_THAT(events(),
                        ElementsAre(signature, out("verify image: /tmp/image"),
                                    "call: " + member, out("Verify OK")));
            EXPECT_THAT(sent(), ElementsAre(security_manager::call(
                                    member, "/tmp/image")));
        }
    }
}

} // namespace
