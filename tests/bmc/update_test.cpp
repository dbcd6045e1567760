// SPDX-License-Identifier: Apache-2.0
#include "../support/library_test.hpp"
#include "../support/systemd_manager.hpp"

// UpdateBMC: systemd is asked to start a flash unit whose name carries the
// image path, and the name is remembered from before the request on.

using namespace test;
using testing::ElementsAre;
using wexa::core::VersionPurpose;

namespace
{

const auto startLine = out("flashWrite bmc-rot2 start.");

std::string unitOf(const std::string& convertedPath)
{
    return R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20)" + convertedPath +
           ".service";
}

class UpdateBmc : public LibraryTest
{
  protected:
    void systemdAnswers(Reply reply)
    {
        offer(systemd_manager::service,
              {systemd_manager::startUnit(std::move(reply))});
    }

    int update(const std::string& imagePath)
    {
        return manager.UpdateBMC(imagePath, VersionPurpose::BMC, "");
    }
};

TEST_F(UpdateBmc, StartsTheFlashUnitOfTheImage)
{
    const auto unit =
        R"(obmc-flash-bmc-rot2@bmc_rot2\x20update\x20-tmp-images-7f3e-image-bmc.service)";
    systemdAnswers(systemd_manager::accepts());

    EXPECT_EQ(update("/tmp/images/7f3e/image-bmc"), 0);

    EXPECT_THAT(events(),
                ElementsAre(startLine,
                            out("image_path: /tmp/images/7f3e/image-bmc"),
                            out(std::string("bmcServiceFile: ") + unit),
                            "call: StartUnit"));
    EXPECT_THAT(sent(), ElementsAre(systemd_manager::call(unit)));
    EXPECT_EQ(rememberedUnit(), unit);
}

struct Path
{
    std::string name;
    std::string path;
    std::string converted;
};

class UpdateBmcNamesTheUnit :
    public UpdateBmc,
    public testing::WithParamInterface<Path>
{};

TEST_P(UpdateBmcNamesTheUnit, AfterThePath)
{
    const auto unit = unitOf(GetParam().converted);
    systemdAnswers(systemd_manager::accepts());

    EXPECT_EQ(update(GetParam().path), 0);

    EXPECT_THAT(events(),
                ElementsAre(startLine, out("image_path: " + GetParam().path),
                            out("bmcServiceFile: " + unit), "call: StartUnit"));
    EXPECT_THAT(sent(), ElementsAre(systemd_manager::call(unit)));
}

INSTANTIATE_TEST_SUITE_P(
    UpdateBmc, UpdateBmcNamesTheUnit,
    testing::Values(
        Path{"WithoutASlash", "image", "image"}, Path{"RootAlone", "/", "-"},
        Path{"Empty", "", ""},
        Path{"ConsecutiveSlashes", "//tmp//image/", "--tmp--image-"},
        Path{"DashesStayAsTheyAre", "/tmp/a-b", "-tmp-a-b"},
        Path{"NothingElseIsEscaped", R"(/tmp/a b\x20@.{}%i)",
             R"(-tmp-a b\x20@.{}%i)"},
        Path{"LongerThanAUnitNameCanBe", '/' + std::string(4095, 'x'),
             '-' + std::string(4095, 'x')}),
    [](const auto& row) { return row.param.name; });

TEST_F(UpdateBmc, IgnoresPurposeAndThirdArgument)
{
    systemdAnswers(systemd_manager::accepts());

    for (const auto purpose : {VersionPurpose::Host, VersionPurpose::Unknown,
                               static_cast<VersionPurpose>(77)})
    {
        EXPECT_EQ(manager.UpdateBMC("/tmp/image", purpose, "MB_CPLD"), 0);
        EXPECT_THAT(sent(),
                    ElementsAre(systemd_manager::call(unitOf("-tmp-image"))));
        EXPECT_EQ(rememberedUnit(), unitOf("-tmp-image"));
    }
}

TEST_F(UpdateBmc, RemembersOnlyTheLastUnit)
{
    systemdAnswers(systemd_manager::accepts());

    update("/tmp/first");
    update("/tmp/second");

    EXPECT_EQ(rememberedUnit(), unitOf("-tmp-second"));
}

TEST_F(UpdateBmc, KeepsTheRememberedUnitWhereTheCallCannotBeCreated)
{
    systemdAnswers(systemd_manager::accepts());
    update("/tmp/first");
    events();

    // Only a connection that is gone refuses to make this call.
    connection = unconnected();
    EXPECT_EQ(thrownText<sdbusplus::exception::SdBusError>(
                  [&] { update("/tmp/second"); }),
              creationFailure);

    EXPECT_THAT(events(),
                ElementsAre(startLine, out("image_path: /tmp/second")));
    EXPECT_EQ(rememberedUnit(), unitOf("-tmp-first"));
}

} // namespace
