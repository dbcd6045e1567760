// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "installed.hpp"

#include <gtest/gtest.h>

#include <memory>
#include <set>

using namespace test;

namespace
{

class Installed : public testing::Test
{
  protected:
    void SetUp() override
    {
        SKIP_WITHOUT_INSTALLATION();
        installation = std::make_unique<Installation>();
    }

    std::unique_ptr<Installation> installation;
    std::string version = fromEnvironment("WEXA_VERSION");
    std::string prefix = fromEnvironment("WEXA_PREFIX");
    std::string libdir = fromEnvironment("WEXA_LIBDIR");
};

TEST_F(Installed, AreLibraryToolAndSimulatorAndNoStandIn)
{
    auto expected = simulatorIn(prefix);
    expected.merge(std::set<std::string>{
        prefix + "/bin/wexa-fwmgr",
        prefix + "/include/wexa/core/fwmanager_internal.hpp",
        libdir + "/libwexa_fwmgr_internal.so",
        libdir + "/libwexa_fwmgr_internal.so.0",
        libdir + "/libwexa_fwmgr_internal.so." + version,
        libdir + "/pkgconfig/wexa_fwmgr_internal.pc",
        libdir + "/wexa-fwmgr/wexa-fwmgr-operations.so",
        prefix + "/share/bash-completion/completions/wexa-fwmgr",
        prefix + "/share/man/man1/wexa-fwmgr.1",
    });
    EXPECT_EQ(installation->files(), expected);
}

TEST_F(Installed, LibraryIsFoundUnderItsShorterNames)
{
    const auto target = [&](const std::string& name) {
        return std::filesystem::read_symlink(
            installation->at(libdir + "/" + name));
    };
    EXPECT_EQ(target("libwexa_fwmgr_internal.so"),
              "libwexa_fwmgr_internal.so.0");
    EXPECT_EQ(target("libwexa_fwmgr_internal.so.0"),
              "libwexa_fwmgr_internal.so." + version);
}

TEST_F(Installed, PkgConfigFileNamesWhatTheHeaderNeeds)
{
    EXPECT_EQ(
        bytesOf(installation->at(libdir + "/pkgconfig/wexa_fwmgr_internal.pc")),
        "prefix=" + prefix +
            "\n"
            "includedir=${prefix}/include\n"
            "libdir=${prefix}" +
            libdir.substr(prefix.size()) +
            "\n"
            "\n"
            "Name: wexa_fwmgr_internal\n"
            "Description: Device-specific part of firmware updates on a BMC\n"
            "Version: " +
            version +
            "\n"
            "Requires: sdbusplus, phosphor-dbus-interfaces\n"
            "Libs: -L${libdir} -lwexa_fwmgr_internal\n"
            "Cflags: -I${includedir}\n");
}

} // namespace
