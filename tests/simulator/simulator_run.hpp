// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/process.hpp"
#include "../support/temporary_directory.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace test
{

/** Runs of the simulator below a folder of the test's own, with the manager
 *  that the parameter names.
 */
class Run : public testing::TestWithParam<const char*>
{
  protected:
    std::vector<std::string> environment() const
    {
        return {"TMPDIR=" + temporary.path().string()};
    }

    Completed bmcsim(const std::vector<std::string>& command) const
    {
        std::vector<std::string> words{fromEnvironment("WEXA_BMCSIM"),
                                       "run",
                                       "--manager",
                                       GetParam(),
                                       "--",
                                       "sh",
                                       "-c",
                                       tellName + "exec \"$@\"",
                                       "sh"};
        words.insert(words.end(), command.begin(), command.end());
        return run(words, environment());
    }

    /** What there is of this test's simulated BMCs: directories, control
     *  groups and processes.
     */
    std::string traces() const
    {
        std::string found;
        for (const auto& left :
             std::filesystem::directory_iterator(temporary.path()))
        {
            if (left.path().filename() != "names")
            {
                found += left.path().string() + '\n';
            }
        }
        found += controlGroups();
        for (const auto& process : std::filesystem::directory_iterator("/proc"))
        {
            const auto words = textOf(process.path() / "cmdline") +
                               textOf(process.path() / "environ");
            if (words.find(temporary.path().string() + "/wexa-bmcsim.") !=
                std::string::npos)
            {
                found += process.path().string() + '\n';
            }
        }
        return found;
    }

    /** Traces go as soon as the processes have. */
    void expectNoTraces() const
    {
        for (auto tries = 0; tries < 500 && !traces().empty(); ++tries)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        EXPECT_EQ(traces(), "");
    }

    TemporaryDirectory temporary;

    /** Words of a shell, inside, that tell the name of the simulated BMC. */
    std::string tellName =
        "echo $WEXA_BMCSIM_DIR >>" + temporary.file("names") + "; ";

  private:
    /** Others' simulated BMCs have groups, too. */
    std::string controlGroups() const
    {
        std::string found;
        std::istringstream names(textOf(temporary.file("names")));
        for (std::string name; std::getline(names, name);)
        {
            found += run({"find", "/sys/fs/cgroup", "-name",
                          std::filesystem::path(name).filename()})
                         .out;
        }
        return found;
    }

    /** Empty where there is no such file, or no longer. */
    static std::string textOf(const std::filesystem::path& file)
    {
        std::ostringstream text;
        text << std::ifstream(file).rdbuf();
        return text.str();
    }
};

} // namespace test
