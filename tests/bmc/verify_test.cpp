// SPDX-License-Identifier: Apache-2.0
#include "../support/library_test.hpp"
#include "../support/security_manager.hpp"
#include "../support/signatures.hpp"

#include <stdexcept>

// VerifyBMC: the purpose is checked before anything is sent; then one call of
// the security manager decides.

using namespace test;
using testing::ElementsAre;
using testing::IsEmpty;
using wexa::core::VersionPurpose;

namespace
{

class VerifyBmc : public LibraryTest
{
  protected:
    void securityManagerAnswers(Reply reply)
    {
        offer(security_manager::service,
              {security_manager::method("verifyBmc", std::move(reply))});
    }

    int verify(const std::string& imagePath, const std::string& extra = "")
    {
        return manager.VerifyBMC(imagePath, VersionPurpose::BMC, extra);
    }
};

TEST_F(VerifyBmc, AcceptsAnImageThatTheSecurityManagerCallsAuthentic)
{
    securityManagerAnswers(reply::boolean(true));

    EXPECT_EQ(verify("/tmp/images/7f3e/image-bmc"), 0);

    EXPECT_THAT(events(),
                ElementsAre(signature("VerifyBMC"),
                            out("verify image: /tmp/images/7f3e/image-bmc"),
                            "call: verifyBmc", out("Verify OK")));
    EXPECT_THAT(sent(), ElementsAre(security_manager::call(
                            "verifyBmc", "/tmp/images/7f3e/image-bmc")));
}

TEST_F(VerifyBmc, RefusesAnImageThatTheSecurityManagerDoesNotAccept)
{
    securityManagerAnswers(reply::boolean(false));

    EXPECT_EQ(verify("/tmp/image"), -1);

    EXPECT_THAT(events(), ElementsAre(signature("VerifyBMC"),
                                      out("verify image: /tmp/image"),
                                      "call: verifyBmc", out("Verify false")));
    EXPECT_THAT(sent(),
                ElementsAre(security_manager::call("verifyBmc", "/tmp/image")));
}

TEST_F(VerifyBmc, SendsAnEmptyPathAsItIs)
{
    securityManagerAnswers(reply::boolean(true));

    EXPECT_EQ(verify(""), 0);

    EXPECT_THAT(events(),
                ElementsAre(signature("VerifyBMC"), out("verify image: "),
                            "call: verifyBmc", out("Verify OK")));
    EXPECT_THAT(sent(), ElementsAre(security_manager::call("verifyBmc", "")));
}

TEST_F(VerifyBmc, SendsAPathWithBracesAsItIs)
{
    securityManagerAnswers(reply::boolean(true));

    EXPECT_EQ(verify("/tmp/{}/%s {0}"), 0);

    EXPECT_THAT(events(), ElementsAre(signature("VerifyBMC"),
                                      out("verify image: /tmp/{}/%s {0}"),
                                      "call: verifyBmc", out("Verify OK")));
}

TEST_F(VerifyBmc, IgnoresItsThirdArgument)
{
    securityManagerAnswers(reply::boolean(true));

    for (const auto* extra : {"", "MB_CPLD", "/tmp/other", "\xff"})
    {
        EXPECT_EQ(verify("/tmp/image", extra), 0);
        EXPECT_THAT(events(), ElementsAre(signature("VerifyBMC"),
                                          out("verify image: /tmp/image"),
                                          "call: verifyBmc", out("Verify OK")));
        EXPECT_THAT(sent(), ElementsAre(security_manager::call("verifyBmc",
                                                               "/tmp/image")));
    }
}

TEST_F(VerifyBmc, LeavesTheRememberedUnitAlone)
{
    securityManagerAnswers(reply::boolean(true));
    manager.UpdateBMC("/tmp/a", VersionPurpose::BMC, "");
    const auto unit = rememberedUnit();

    verify("/tmp/b");

    EXPECT_EQ(rememberedUnit(), unit);
}

struct RefusedPurpose
{
    VersionPurpose purpose;
    std::string name;
};

class VerifyBmcRefuses :
    public VerifyBmc,
    public testing::WithParamInterface<RefusedPurpose>
{};

TEST_P(VerifyBmcRefuses, AnyOtherPurposeWithoutAskingAnyone)
{
    securityManagerAnswers(reply::boolean(true));

    EXPECT_EQ(manager.VerifyBMC("/tmp/image", GetParam().purpose, ""), -22);

    EXPECT_THAT(
        events(),
        ElementsAre(signature("VerifyBMC"),
                    out("Unsupport image type: "
                        "xyz.openbmc_project.Software.Version.VersionPurpose." +
                        GetParam().name + " !!")));
    EXPECT_THAT(sent(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    VerifyBmc, VerifyBmcRefuses,
    testing::Values(RefusedPurpose{VersionPurpose::Unknown, "Unknown"},
                    RefusedPurpose{VersionPurpose::Other, "Other"},
                    RefusedPurpose{VersionPurpose::System, "System"},
                    RefusedPurpose{VersionPurpose::Host, "Host"},
                    RefusedPurpose{VersionPurpose::PSU, "PSU"}),
    [](const auto& row) { return row.param.name; });

TEST_F(VerifyBmc, ThrowsForAPurposeThatIsNoEnumerator)
{
    for (const auto number : {-1, 7, 1000})
    {
        EXPECT_EQ(thrownText<std::invalid_argument>([&] {
                      manager.VerifyBMC("/tmp/image",
                                        static_cast<VersionPurpose>(number),
                                        "");
                  }),
                  std::to_string(number));
        EXPECT_THAT(events(), ElementsAre(signature("VerifyBMC")));
        EXPECT_THAT(sent(), IsEmpty());
    }
}

} // namespace
