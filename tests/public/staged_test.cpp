// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/images.hpp"
#include "../support/rights.hpp"
#include "../support/simulation.hpp"
#include "../support/temporary_directory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <sstream>

// An installation below one folder. The stand-ins that the library was built
// with are installed beside it; real libraries are where they are.

using namespace test;
using testing::HasSubstr;

namespace
{

class Staged : public testing::Test
{
  protected:
    static void SetUpTestSuite()
    {
        if (!rights::missingForInstallation().empty())
        {
            return; // SetUp skips
        }
        stage = std::make_unique<TemporaryDirectory>();
        must({"meson", "install", "--quiet", "--no-rebuild", "-C",
              fromEnvironment("WEXA_BUILD"), "--destdir",
              stage->path().string()});
        const auto described = packages() + "/wexa_fwmgr_internal.pc";
        auto text = bytesOf(described);
        text.insert(text.find('=') + 1, stage->path().string()); // its prefix
        writeBytes(described, text);

        std::istringstream standIns(fromEnvironment("WEXA_STAND_INS"));
        for (std::string name; standIns >> name;)
        {
            installStandIn(name);
        }
    }

    static void installStandIn(const std::string& name)
    {
        const TemporaryDirectory build;
        std::vector<std::string> setup{
            "meson",
            "setup",
            build.path().string(),
            fromEnvironment("WEXA_SOURCES") + "/subprojects/" + name,
            "--optimization=0",
            "--prefix=" + at(fromEnvironment("WEXA_PREFIX")),
            "--libdir=" + libraries()};
        if (name != "wexacore")
        {
            setup.emplace_back("-Dtests=false");
        }
        must(setup);
        must({"meson", "install", "--quiet", "-C", build.path().string()});
    }

    void SetUp() override
    {
        SKIP_WITHOUT_INSTALLATION();
    }

    static void TearDownTestSuite()
    {
        stage.reset();
    }

    static void must(const std::vector<std::string>& command)
    {
        const auto done = run(command, environment());
        ASSERT_EQ(done.status, 0) << done.out << done.err;
    }

    static std::string at(const std::string& path)
    {
        return stage->path().string() + path;
    }

    static std::string libraries()
    {
        return at(fromEnvironment("WEXA_LIBDIR"));
    }

    static std::string packages()
    {
        return libraries() + "/pkgconfig";
    }

    /** Where libraries and pkg-config files are, and nothing else of ours. */
    static std::vector<std::string> environment()
    {
        return {"LD_LIBRARY_PATH=" + libraries() +
                    fromEnvironment("WEXA_LIBRARY_PATH"),
                "PKG_CONFIG_PATH=" + packages() +
                    fromEnvironment("WEXA_PKG_CONFIG_PATH")};
    }

    static inline std::unique_ptr<TemporaryDirectory> stage;
    TemporaryDirectory temporary;
};

TEST_F(Staged, ToolRunsFromThere)
{
    const auto fwmgr = at(fromEnvironment("WEXA_PREFIX") + "/bin/wexa-fwmgr");
    EXPECT_EQ(
        run({fwmgr, "--version"}, environment()),
        (Completed{0, "wexa-fwmgr " + fromEnvironment("WEXA_VERSION") + "\n",
                   ""}));

    const Simulation bmc;
    const Images images;
    const auto image = images.bmc("1");
    auto variables = bmc.environment();
    const auto own = environment();
    variables.insert(variables.end(), own.begin(), own.end());
    EXPECT_EQ(run({fwmgr, "verify", "bmc", image}, variables),
              (Completed{0, image + ": authentic BMC image\n", ""}));
}

TEST_F(Staged, SimulatedBmcRunsWhereverItIsMoved)
{
    const auto prefix = fromEnvironment("WEXA_PREFIX");
    const auto moved = temporary.file("moved");
    std::filesystem::copy(at(prefix), moved,
                          std::filesystem::copy_options::recursive);
    const auto scenario =
        moved + "/share/wexa-bmcsim/scenarios/security-refuses.scenario";
    writeBytes(scenario, "# Moved.\nboard-id=77\n");

    const auto bmcsim = moved + "/bin/wexa-bmcsim";
    const auto image = temporary.file("image");
    EXPECT_EQ(run({moved + "/bin/wexa-mkimage", "--kind", "bmc", "--version",
                   "1", image})
                  .status,
              0);
    const auto told = run({bmcsim, "run", "--manager", "builtin", "--scenario",
                           "security-refuses", "--", bmcsim, "state"});
    EXPECT_EQ(told.status, 0) << told.err;
    EXPECT_THAT(told.out, HasSubstr("board-id           77\n"));
}

TEST_F(Staged, ProgramBuildsWithPkgConfigAloneAndRuns)
{
    const auto program = temporary.file("daemon");
    const auto built =
        run({"sh", "-c",
             fromEnvironment("WEXA_COMPILER") + " -o " + program + " " +
                 fromEnvironment("WEXA_SOURCES") +
                 "/tests/public/daemon.cpp $(pkg-config --cflags --libs "
                 "wexa_fwmgr_internal)"},
            environment());
    ASSERT_EQ(built.status, 0) << built.err;

    const Simulation bmc;
    const Images images;
    const auto image = images.bmc("2.14.0");
    auto variables = bmc.environment();
    const auto own = environment();
    variables.insert(variables.end(), own.begin(), own.end());
    EXPECT_EQ(run({program, image}, variables).status, 0);
    EXPECT_TRUE(bmc.flash("bmc") == bytesOf(image));
}

} // namespace
