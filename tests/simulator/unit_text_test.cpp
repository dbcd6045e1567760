// SPDX-License-Identifier: Apache-2.0
#include "../../simulator/unit_text.hpp"
#include "../support/process.hpp"

#include <gtest/gtest.h>
#include <unit_instance.hpp>

// The built-in manager spells unit names as systemd does.

using namespace bmcsim::unitText;

namespace
{

TEST(UnitText, UnescapesAsSystemdDoes)
{
    for (const std::string instance :
         {R"(bmc_rot2\x20update\x20-tmp-images_bmc)", "a-b", "-", "--",
          R"(\x41\x2d)", "plain", R"(a\x2fb)"})
    {
        // systemd-escape takes an instance that looks like an option only
        // behind "--".
        const auto systemd =
            test::run({"systemd-escape", "--unescape", "--", instance});
        ASSERT_EQ(systemd.status, 0) << systemd.err;
        EXPECT_EQ(plain::unescaped(instance) + '\n', systemd.out);
    }
}

TEST(UnitText, KeepsWhatIsNoEscape)
{
    EXPECT_EQ(plain::unescaped(R"(\x2)"), R"(\x2)");
    EXPECT_EQ(plain::unescaped(R"(\xzz)"), R"(\xzz)");
    EXPECT_EQ(plain::unescaped(R"(\)"), R"(\)");
}

TEST(UnitText, KnowsValidNames)
{
    EXPECT_TRUE(isValidName(R"(a@b\x20c.service)"));
    EXPECT_TRUE(isValidName(std::string(247, 'a') + ".service"));

    EXPECT_FALSE(isValidName(std::string(248, 'a') + ".service"));
    EXPECT_FALSE(isValidName("a b@c.service"));
    EXPECT_FALSE(isValidName("a@b/c.service"));
    EXPECT_FALSE(isValidName("a@\xc3\xa4.service"));
    EXPECT_FALSE(isValidName("@a.service"));
    EXPECT_TRUE(isValidName("default.target"));
    EXPECT_TRUE(isValidName(".a.service"));
    EXPECT_FALSE(isValidName(".service"));
    EXPECT_FALSE(isValidName("a.odd"));
    EXPECT_FALSE(isValidName("a"));
    EXPECT_FALSE(isValidName(""));
}

TEST(UnitText, MakesObjectPathsOfNames)
{
    const std::string folder = "/org/freedesktop/systemd1/unit/";
    for (const auto& [name, path] :
         {std::pair("a@b.service", "a_40b_2eservice"),
          std::pair(R"(a_b\x20-1.service)", "a_5fb_5cx20_2d1_2eservice")})
    {
        EXPECT_EQ(objectPath(name), folder + path);
        EXPECT_EQ(nameOf(folder + path), name);
    }
    EXPECT_EQ(nameOf(folder + "a_4"), "a_4");
    EXPECT_EQ(nameOf(folder + "a_zz"), "a_zz");
    EXPECT_EQ(nameOf(folder), "");
    EXPECT_EQ(nameOf("/"), "");
}

} // namespace
