// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/process.hpp"
#include "../support/temporary_directory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

using namespace test;
using testing::HasSubstr;
using testing::Not;

namespace
{

/** A machine on which pkg-config finds what the test names, and no more. */
class BuildForABoard : public testing::Test
{
  protected:
    void install(const std::string& package) const
    {
        writeBytes(directory.file(package + ".pc"),
                   "Name: " + package + "\nDescription: none\nVersion: 9\n");
    }

    void installStandIn(const std::string& package) const
    {
        writeBytes(directory.file(package + ".pc"),
                   "stand_in=true\nName: " + package +
                       "\nDescription: none\nVersion: 9\n");
    }

    void expectError(const std::string& error,
                     const std::vector<std::string>& options = {
                         "-Dstand-ins=false"}) const
    {
        std::vector<std::string> command{"meson", "setup",
                                         directory.file("build"),
                                         fromEnvironment("WEXA_SOURCES")};
        command.insert(command.end(), options.begin(), options.end());
        const auto configured =
            run(command, {"PKG_CONFIG_PATH=",
                          "PKG_CONFIG_LIBDIR=" + directory.path().string()});
        EXPECT_NE(configured.status, 0);
        EXPECT_THAT(configured.out, HasSubstr("ERROR: " + error));
    }

    TemporaryDirectory directory;
};

TEST_F(BuildForABoard, NamesSdbusplusWhereItIsMissing)
{
    expectError("Dependency \"sdbusplus\" not found");
}

TEST_F(BuildForABoard, NamesThePhosphorInterfacesWhereTheyAreMissing)
{
    install("sdbusplus");
    expectError("Dependency \"phosphor-dbus-interfaces\" not found");
}

TEST_F(BuildForABoard, NamesTheCoreLibraryWhereItIsMissing)
{
    install("sdbusplus");
    install("phosphor-dbus-interfaces");
    expectError("C++ shared or static library 'wexacore' not found");
}

TEST_F(BuildForABoard, RefusesStandInsThatAreInstalled)
{
    const std::string why =
        " is a stand-in, with which no board works: install the real one, or "
        "take the stand-in out of the path of pkg-config";
    installStandIn("sdbusplus");
    expectError("Problem encountered: sdbusplus" + why);
    install("sdbusplus");
    installStandIn("phosphor-dbus-interfaces");
    expectError("Problem encountered: phosphor-dbus-interfaces" + why);
}

TEST_F(BuildForABoard, InstallsNoStandIns)
{
    writeBytes(directory.file("board.ini"),
               "[binaries]\ncpp = 'c++'\npkgconfig = 'pkg-config'\n"
               "[host_machine]\nsystem = 'linux'\ncpu_family = 'arm'\n"
               "cpu = 'arm'\nendian = 'little'\n");
    expectError(
        "Problem encountered: a cross build is for a board, and "
        "-Dstand-ins=install for a desk: leave it out",
        {"-Dstand-ins=install", "--cross-file", directory.file("board.ini")});
}

class BuildForTests : public testing::Test
{
  protected:
    BuildForTests()
    {
        for (const auto& program :
             std::filesystem::directory_iterator("/usr/bin"))
        {
            std::filesystem::create_symlink(
                program.path(), directory.file(program.path().filename()));
        }
    }

    Completed configureWithout(const std::vector<std::string>& programs) const
    {
        for (const auto& program : programs)
        {
            std::filesystem::remove(directory.file(program));
        }
        return run({"meson", "setup", directory.file("build"),
                    fromEnvironment("WEXA_SOURCES")},
                   {"PATH=" + directory.path().string()});
    }

    TemporaryDirectory directory;
};

TEST_F(BuildForTests, SaysWhatIsLeftOutAndWhatIsMissing)
{
    const auto configured = configureWithout({"abidw", "dbus-broker"});
    EXPECT_EQ(configured.status, 0) << configured.out;
    EXPECT_THAT(
        configured.out,
        HasSubstr("  Left out, for it is not installed\n"
                  "    tests on dbus-broker              : dbus-broker\n"
                  "    comparison of the binary interface: abigail-tools\n"));
}

TEST_F(BuildForTests, LeavesNothingOutWhereAllIsInstalled)
{
    const auto configured = configureWithout({});
    EXPECT_EQ(configured.status, 0) << configured.out;
    EXPECT_THAT(configured.out, Not(HasSubstr("Left out")));
}

} // namespace
