// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/process.hpp"
#include "../support/rights.hpp"
#include "../support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

namespace test
{

/** What "meson install" installs, in a folder for now. */
class Installation
{
  public:
    Installation()
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

    /** All files, by the paths that they are installed to. */
    std::set<std::string> files() const
    {
        std::set<std::string> all;
        for (const auto& entry :
             std::filesystem::recursive_directory_iterator(destination.path()))
        {
            if (!entry.is_directory())
            {
                all.insert(entry.path().string().substr(
                    destination.path().string().size()));
            }
        }
        return all;
    }

  private:
    TemporaryDirectory destination;
};

/** The simulated BMC below a prefix, with the scenarios of the sources. */
inline std::set<std::string> simulatorIn(const std::string& prefix)
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

} // namespace test
