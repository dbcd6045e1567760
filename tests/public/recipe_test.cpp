// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/matches.hpp"
#include "../support/process.hpp"
#include "../support/rights.hpp"
#include "installed.hpp"

#include <fnmatch.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

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

/** The value that the recipe gives to a variable; empty where it gives none. */
std::string valueOf(const std::string& variable)
{
    const auto text = recipe();
    const auto begin = text.find("\n" + variable + " ");
    if (begin == std::string::npos)
    {
        return "";
    }
    const auto value = text.find('"', begin) + 1;
    return text.substr(value, text.find('"', value) - value);
}

/** A path as recipes write it. */
std::string inRecipe(std::string path)
{
    const auto libdir = fromEnvironment("WEXA_LIBDIR");
    const auto prefix = fromEnvironment("WEXA_PREFIX");
    for (const auto& [folder, name] :
         std::vector<std::pair<std::string, std::string>>{
             {libdir, "${libdir}"},
             {prefix + "/bin", "${bindir}"},
             {prefix + "/include", "${includedir}"},
             {prefix + "/share/man", "${mandir}"},
             {prefix + "/share", "${datadir}"}})
    {
        if (path.starts_with(folder + "/"))
        {
            path = name + path.substr(folder.size());
        }
    }
    return path;
}

/** The package that takes a file, and "none" where no package does: the first
 *  with a pattern that fits it or a folder above it. What the recipe does not
 *  say are the defaults of bitbake.conf and bash-completion.bbclass.
 */
std::string packageOf(const std::string& file)
{
    const std::vector<std::pair<std::string, std::string>> packages{
        {"dev", "${includedir} ${libdir}/lib*.so ${libdir}/pkgconfig"},
        {"doc", "${docdir} ${mandir}"},
        {"bash-completion", "${datadir}/bash-completion"},
        {"tools", valueOf("FILES:${PN}-tools")},
        {"library",
         "${bindir}/* ${libdir}/lib*.so.* " + valueOf("FILES:${PN}")},
    };
    for (const auto& [package, patterns] : packages)
    {
        std::istringstream words(patterns);
        for (std::string pattern; words >> pattern;)
        {
            if (fnmatch(pattern.c_str(), file.c_str(),
                        FNM_PATHNAME | FNM_LEADING_DIR) == 0)
            {
                return package;
            }
        }
    }
    return "none";
}

TEST(Recipe, HasAPackageForEveryInstalledFile)
{
    SKIP_WITHOUT_INSTALLATION();
    auto files = Installation().files();
    for (const auto& file : simulatorIn(fromEnvironment("WEXA_PREFIX")))
    {
        EXPECT_EQ(files.erase(file), 1) << file;
    }
    std::map<std::string, std::set<std::string>> packaged;
    for (const auto& file : files)
    {
        packaged[packageOf(inRecipe(file))].insert(inRecipe(file));
    }
    for (const auto& file :
         matchesIn(recipe(), "^        \\$\\{D\\}([^ \n]+)$"))
    {
        packaged[packageOf(file)].insert(file);
    }
    const auto library = "${libdir}/libwexa_fwmgr_internal.so";
    const std::map<std::string, std::set<std::string>> expected{
        {"bash-completion",
         {"${datadir}/bash-completion/completions/wexa-fwmgr"}},
        {"dev",
         {"${includedir}/wexa/core/fwmanager_internal.hpp", library,
          "${libdir}/pkgconfig/wexa_fwmgr_internal.pc"}},
        {"doc",
         {"${docdir}/${PN}/examples/firmware-manager.service",
          "${mandir}/man1/wexa-fwmgr.1"}},
        {"library",
         {"${datadir}/dbus-1/system.d/com.WEXA.FirmwareManager.conf",
          library + std::string(".0"),
          library + std::string(".") + fromEnvironment("WEXA_VERSION")}},
        {"tools",
         {"${bindir}/wexa-fwmgr",
          "${libdir}/wexa-fwmgr/wexa-fwmgr-operations.so"}},
    };
    EXPECT_EQ(packaged, expected);
}

TEST(Recipe, LeavesThePackagesThatItsClassesHaveAdded)
{
    EXPECT_EQ(matchesIn(recipe(), "^(PACKAGE(?:S|_BEFORE_PN) [^ ]+) "),
              (std::set<std::string>{"PACKAGE_BEFORE_PN +="}));
}

TEST(Recipe, InstallsStandInsForTheBuildMachineOnly)
{
    const auto board = valueOf("EXTRA_OEMESON");
    const auto buildMachine = valueOf("EXTRA_OEMESON:class-native");
    EXPECT_NE(board.find(" -Dstand-ins=false "), std::string::npos);
    EXPECT_NE(buildMachine.find(" -Dstand-ins=install "), std::string::npos);
    EXPECT_EQ(matchesIn(buildMachine, "-D([a-z-]+)="),
              matchesIn(board, "-D([a-z-]+)="));
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
