// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/process.hpp"
#include "../support/temporary_directory.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace test;
using testing::HasSubstr;

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

} // namespace
