// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/matches.hpp"
#include "../support/process.hpp"

#include <gtest/gtest.h>

#include <filesystem>

// The recipe knows the options and the license of this very tree, and every
// installed file has a package.

using namespace test;

namespace
{

std::string sourceOf(const std::string& file)
{
    return bytesOf(fromEnvironment("WEXA_SOURCES") + "/" + file);
}

/** Named after the version that is built, without its last number. */
std::string recipe()
{
    const auto version = fromEnvironment("WEXA_VERSION");
    return sourceOf("packaging/yocto/wexa-fwmgr-internal_" +
                    version.substr(0, version.rfind('.')) + ".bb");
}

TEST(Recipe, DecidesEveryOption)
{
    EXPECT_EQ(
        matchesIn(recipe(), "-D([a-z-]+)=(?:false|disabled)"),
        matchesIn(sourceOf("meson_options.txt"), "^option\\('([a-z-]+)'"));
}

TEST(Recipe, KnowsTheLicense)
{
    const auto digest =
        run({"md5sum", fromEnvironment("WEXA_SOURCES") + "/LICENSE"}).out;
    EXPECT_EQ(matchesIn(recipe(), "md5=([0-9a-f]+)"),
              (std::set<std::string>{digest.substr(0, 32)}));
}

TEST(Recipe, PutsTheToolAndItsModuleInAPackageOfTheirOwn)
{
    EXPECT_EQ(matchesIn(recipe(), "^    (\\$\\{(?:bindir|libdir)\\}[^ ]+) "),
              (std::set<std::string>{
                  "${bindir}/wexa-fwmgr",
                  "${libdir}/wexa-fwmgr/wexa-fwmgr-operations.so"}));
}

TEST(Recipe, InstallsThePolicyAndTheExampleOfAUnit)
{
    const std::filesystem::path sources = fromEnvironment("WEXA_SOURCES");
    std::set<std::string> files;
    for (const auto* const folder : {"dbus", "systemd"})
    {
        for (const auto& entry : std::filesystem::directory_iterator(
                 sources / "packaging" / folder))
        {
            files.insert(std::filesystem::relative(entry.path(), sources));
        }
    }
    EXPECT_EQ(matchesIn(recipe(), "\\$\\{S\\}/(packaging/[^ ]+) "), files);
}

TEST(Recipe, BuildsAgainstThePlatformsLibrariesOnly)
{
    const auto depends = recipe();
    const auto start = depends.find("\nDEPENDS = ");
    EXPECT_EQ(
        matchesIn(depends.substr(start, depends.find("\"\n", start) - start),
                  "^    ([a-z-]+) "),
        (std::set<std::string>{"fmt", "libwexacore", "phosphor-dbus-interfaces",
                               "sdbusplus", "systemd"}));
    EXPECT_NE(depends.find("-Dstand-ins=false"), std::string::npos);
}

} // namespace
