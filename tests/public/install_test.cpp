// SPDX-License-Identifier: Apache-2.0
#include "../support/bytes.hpp"
#include "../support/process.hpp"
#include "../support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <set>

using namespace test;

namespace
{

class Installed : public testing::Test
{
  protected:
    Installed()
    {
        const auto done = run({"meson", "install", "--quiet", "--no-rebuild",
                               "-C", fromEnvironment("WEXA_BUILD"), "--destdir",
                               destination.path()});
        EXPECT_EQ(done.status, 0) << done.err;
    }

    /** Where an installed file is for now. */
    std::string at(const std::string& path) const
    {
        return destination.path().string() + path;
    }

    TemporaryDirectory destination;
    std::string version = fromEnvironment("WEXA_VERSION");
    std::string prefix = fromEnvironment("WEXA_PREFIX");
    std::string libdir = fromEnvironment("WEXA_LIBDIR");
};

/** The simulated BMC and its scenarios, as the sources have them. */
std::set<std::string> simulatorIn(const std::string& prefix)
{
    std::set<std::string> files;
    for (const std::string program : {"wexa-bmcsim", "wexa-mkimage"})
    {
        files.insert(
            {prefix + "/bin/" + program,
             prefix + "/share/man/man1/" + program + ".1",
             prefix + "/share/bash-completion/completions/" + program});
    }
    for (const auto& entry : std::filesystem::directory_iterator(
             fromEnvironment("WEXA_SOURCES") + "/simulator/scenarios"))
    {
        if (entry.path().extension() == ".scenario")
        {
            files.insert(prefix + "/share/wexa-bmcsim/scenarios/" +
                         entry.path().filename().string());
        }
    }
    return files;
}

TEST_F(Installed, AreLibraryToolAndSimulatorAndNoStandIn)
{
    std::set<std::string> files;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(destination.path()))
    {
        if (!entry.is_directory())
        {
            files.insert(entry.path().string().substr(
                destination.path().string().size()));
        }
    }
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
    EXPECT_EQ(files, expected);
}

TEST_F(Installed, LibraryIsFoundUnderItsShorterNames)
{
    const auto target = [&](const std::string& name) {
        return std::filesystem::read_symlink(at(libdir + "/" + name));
    };
    EXPECT_EQ(target("libwexa_fwmgr_internal.so"),
              "libwexa_fwmgr_internal.so.0");
    EXPECT_EQ(target("libwexa_fwmgr_internal.so.0"),
              "libwexa_fwmgr_internal.so." + version);
}

TEST_F(Installed, PkgConfigFileNamesWhatTheHeaderNeeds)
{
    EXPECT_EQ(
        bytesOf(at(libdir + "/pkgconfig/wexa_fwmgr_internal.pc")),
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
