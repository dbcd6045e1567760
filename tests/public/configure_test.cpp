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

    Completed configure() const
    {
        return run({"meson", "setup", "-Dstand-ins=false",
                    directory.file("build"), fromEnvironment("WEXA_SOURCES")},
                   {"PKG_CONFIG_PATH=",
                    "PKG_CONFIG_LIBDIR=" + directory.path().string()});
    }

    void expectMissing(const std::string& error) const
    {
        const auto configured = configure();
        EXPECT_NE(configured.status, 0);
        EXPECT_THAT(configured.out, HasSubstr(error));
    }

    TemporaryDirectory directory;
};

TEST_F(BuildForABoard, NamesSdbusplusWhereItIsMissing)
{
    expectMissing("ERROR: Dependency \"sdbusplus\" not found");
}

TEST_F(BuildForABoard, NamesThePhosphorInterfacesWhereTheyAreMissing)
{
    install("sdbusplus");
    expectMissing("ERROR: Dependency \"phosphor-dbus-interfaces\" not found");
}

TEST_F(BuildForABoard, NamesTheCoreLibraryWhereItIsMissing)
{
    install("sdbusplus");
    install("phosphor-dbus-interfaces");
    expectMissing("ERROR: C++ shared or static library 'wexacore' not found");
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
