// SPDX-License-Identifier: Apache-2.0
#include "../support/images.hpp"
#include "answers.hpp"

#include <gtest/gtest.h>

using namespace test;
using namespace wexa::core;

namespace
{

class CoreLibrary : public testing::Test
{
  protected:
    std::string bios(const std::string& version, const std::string& date) const
    {
        return images.make("bios",
                           {"--kind", "bios", "--version", version, "--date",
                            date, "--board", "65535", "--force"});
    }

    Images images;
};

TEST_F(CoreLibrary, SaysTheVersionOfABmcImageAndThatItIsNothingElse)
{
    auto answers = noImage;
    answers.bmcVersion = "2.14.0";
    answers.capsuleKind = 0;
    EXPECT_EQ(ask(images.bmc("2.14.0")), answers);
}

TEST_F(CoreLibrary, SaysVersionDateAndBoardOfABiosImage)
{
    auto answers = noImage;
    answers.bios = 0;
    answers.biosVersion = "F0B 17";
    answers.biosDate = "02/29/2024";
    answers.capsuleKind = 0;
    answers.board = 65535;
    EXPECT_EQ(ask(bios("F0B 17", "02/29/2024")), answers);
}

TEST_F(CoreLibrary, SaysTheVersionOfACapsuleToWhoAsksForItsKind)
{
    for (const auto kind : {1, 2, 3})
    {
        auto answers = noImage;
        const auto index = static_cast<std::size_t>(kind - 1);
        answers.capsule.at(index) = 0;
        answers.capsuleVersion.at(index) = "1.7";
        answers.capsuleKind = kind;
        EXPECT_EQ(
            ask(images.make("capsule", {"--kind", "capsule", "--version", "1.7",
                                        "--capsule-kind", std::to_string(kind),
                                        "--force"})),
            answers)
            << kind;
    }
}

TEST_F(CoreLibrary, SaysOfACpldImageOnlyThatItIsNoCapsule)
{
    auto answers = noImage;
    answers.capsuleKind = 0;
    EXPECT_EQ(ask(images.make("cpld", {"--kind", "cpld", "--version", "3"})),
              answers);
}

TEST_F(CoreLibrary, HasNothingToSayWithoutAPath)
{
    EXPECT_EQ(ask(nullptr), noImage);
    EXPECT_EQ(ask(std::string()), noImage);
}

TEST_F(CoreLibrary, KnowsNoCapsulesOfOtherKinds)
{
    auto path = images.make("capsule", {"--kind", "capsule", "--version", "1"});
    std::array<char, 8> version = {'k'};
    for (const auto kind : {-1, 0, 4, 0x10001})
    {
        EXPECT_EQ(get_capsule_version_from_image(path.data(), version.data(),
                                                 version.size(), kind),
                  -EIO);
    }
    EXPECT_STREQ(version.data(), "k");
}

TEST_F(CoreLibrary, CutsTextsToTheBufferAndTerminatesThem)
{
    struct Row
    {
        std::size_t length;
        int size;
        std::size_t left;
    };

    for (const auto& row : {Row{63, 64, 63}, Row{64, 64, 63}, Row{200, 64, 63},
                            Row{200, 1, 0}, Row{255, 256, 255}})
    {
        const std::string text(row.length, 'v');
        const std::string date(std::min<std::size_t>(row.length, 63), 'd');
        auto path = bios(text, date);
        std::string version(300, '#');
        std::string day(300, '#');

        EXPECT_EQ(get_bios_version_from_image(path.data(), version.data(),
                                              row.size, day.data(), row.size),
                  0);
        EXPECT_EQ(version, std::string(row.left, 'v') + '\0' +
                               std::string(299 - row.left, '#'));
        const auto dayLeft = std::min(row.left, date.size());
        EXPECT_EQ(day, std::string(dayLeft, 'd') + '\0' +
                           std::string(299 - dayLeft, '#'));

        path = images.make("capsule",
                           {"--kind", "capsule", "--version", text, "--force"});
        version.assign(300, '#');
        EXPECT_EQ(get_capsule_version_from_image(path.data(), version.data(),
                                                 row.size, 1),
                  0);
        EXPECT_EQ(version, std::string(row.left, 'v') + '\0' +
                               std::string(299 - row.left, '#'));
    }
}

TEST_F(CoreLibrary, ReturnsABmcVersionWhole)
{
    const std::string version(255, 'v');
    EXPECT_EQ(ask(images.bmc(version)).bmcVersion, version);
}

TEST_F(CoreLibrary, RefusesBuffersWithoutRoom)
{
    auto path = bios("1", "2");
    std::array<char, 4> text = {'k'};
    for (const auto size : {0, -1})
    {
        EXPECT_EQ(get_bios_version_from_image(path.data(), text.data(), size,
                                              text.data(), text.size()),
                  -EINVAL);
        EXPECT_EQ(get_bios_version_from_image(path.data(), text.data(),
                                              text.size(), text.data(), size),
                  -EINVAL);
        EXPECT_EQ(
            get_capsule_version_from_image(path.data(), text.data(), size, 1),
            -EINVAL);
    }
    EXPECT_EQ(get_bios_version_from_image(path.data(), nullptr, 4, text.data(),
                                          text.size()),
              -EINVAL);
    EXPECT_EQ(get_bios_version_from_image(path.data(), text.data(), text.size(),
                                          nullptr, 4),
              -EINVAL);
    EXPECT_EQ(get_capsule_version_from_image(path.data(), nullptr, 4, 1),
              -EINVAL);
    EXPECT_STREQ(text.data(), "k");
}

} // namespace
