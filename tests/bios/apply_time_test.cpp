// SPDX-License-Identifier: Apache-2.0
#include "upload_bios.hpp"

// The requested apply time: the last step of an upload, which it cannot fail.

using namespace test;
using testing::ElementsAre;
using testing::Pair;

namespace
{

const std::string enumeration =
    "xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes.";

class ApplyTime : public UploadBios
{
  protected:
    ApplyTime()
    {
        everyoneAgrees();
    }

    /** What an upload does up to the apply time. */
    std::vector<std::string> eventsBefore(const std::string& image) const
    {
        return {uploadSignature("processUploadBiosImage"),
                signature("VerifyCapsule"),
                out("verify image: " + image),
                "call: verifyCapsule",
                out("Verify OK"),
                "call: Set"};
    }

    std::string image = capsule("1.7");
};

TEST_F(ApplyTime, IsAddedInItsShortForm)
{
    for (const auto* name : {"OnReset", "Immediate", "OnStartUpdateRequest"})
    {
        settingsAnswer(reply::textVariant(enumeration + name));

        EXPECT_THAT(upload(image), ElementsAre(Pair("applyTime", name),
                                               Pair("extendedVersion", ""),
                                               Pair("version", "1.7")));
        auto expected = eventsBefore(image);
        expected.push_back("call: Get");
        EXPECT_EQ(events(), expected);
    }
}

struct OtherAnswer
{
    std::string name;
    Reply reply;
};

class ApplyTimeIsLeftOut :
    public ApplyTime,
    public testing::WithParamInterface<OtherAnswer>
{};

TEST_P(ApplyTimeIsLeftOut, Silently)
{
    settingsAnswer(GetParam().reply);

    EXPECT_THAT(upload(image), ElementsAre(Pair("extendedVersion", ""),
                                           Pair("version", "1.7")));
    auto expected = eventsBefore(image);
    expected.push_back("call: Get");
    EXPECT_EQ(events(), expected);
    EXPECT_EQ(sent().back(), settings::call());
}

INSTANTIATE_TEST_SUITE_P(
    ApplyTime, ApplyTimeIsLeftOut,
    testing::Values(
        OtherAnswer{"WhereItIsUnheardOf",
                    reply::textVariant(enumeration + "AtMaintenanceWindow")},
        OtherAnswer{"WhereNewerPlatformsAloneKnowIt",
                    reply::textVariant(enumeration + "OnActivationRequest")},
        OtherAnswer{"WhereItIsAShortName", reply::textVariant("OnReset")},
        OtherAnswer{"WhereItIsTheEnumerationAlone",
                    reply::textVariant(enumeration)},
        OtherAnswer{"WhereItGoesOn",
                    reply::textVariant(enumeration + "OnResetSoon")},
        OtherAnswer{"WhereItIsInAnotherLetterCase",
                    reply::textVariant(enumeration + "onreset")},
        OtherAnswer{"WhereItIsEmpty", reply::textVariant("")},
        OtherAnswer{"WhereItIsANumber", reply::numberVariant(1)},
        OtherAnswer{"WhereTheAnswerIsEmpty", reply::nothing()}),
    [](const auto& row) { return row.param.name; });

} // namespace
