// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/process.hpp"
#include "../support/rights.hpp"
#include "../support/temporary_directory.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <ostream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace test
{

/** Who runs a simulated BMC, and with which manager. */
struct Condition
{
    std::string name;
    std::string manager;
    /** Words before those of the simulator, which give up rights. */
    std::vector<std::string> without = {};
};

inline void PrintTo(const Condition& condition, std::ostream* stream)
{
    *stream << condition.name;
}

/** What gives up all that root of a Docker container lacks. */
inline const std::vector<std::string> asDockersRoot{
    "setpriv",
    "--bounding-set=-all,+chown,+dac_override,+fowner,+fsetid,+kill,+setgid,"
    "+setuid,+setpcap,+net_bind_service,+net_raw,+sys_chroot,+mknod,"
    "+audit_write,+setfcap"};

inline const std::vector<std::string> asNobody{
    "setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};

/** Runs of the simulator below a folder of the test's own, in the conditions
 *  that the parameter names.
 */
class Run : public testing::TestWithParam<Condition>
{
  protected:
    void SetUp() override
    {
        SKIP_WITHOUT_MANAGER(GetParam().manager);
        if (GetParam().without == asNobody)
        {
            SKIP_WITHOUT_OTHER_USERS_OF_THE_BUILD();
        }
        else if (!GetParam().without.empty())
        {
            SKIP_WITHOUT_OTHER_USERS();
        }
        // The simulator's user may be another than the test's.
        std::filesystem::permissions(temporary.path(),
                                     std::filesystem::perms::all);
    }

    /** Whether the simulator runs as an ordinary user. */
    static bool isOfAUser()
    {
        return geteuid() != 0 || GetParam().without == asNobody;
    }

    std::vector<std::string> environment() const
    {
        return {"TMPDIR=" + temporary.path().string()};
    }

    /** A command line of the simulator, as its user types it.
     *
     *  @param circumstances  words before it, such as those of prlimit
     */
    static std::vector<std::string>
    simulator(const std::vector<std::string>& words,
              const std::vector<std::string>& circumstances = {})
    {
        auto line = GetParam().without;
        line.insert(line.end(), circumstances.begin(), circumstances.end());
        line.push_back(fromEnvironment("WEXA_BMCSIM"));
        line.insert(line.end(), words.begin(), words.end());
        return line;
    }

    /** The command line that runs a command in a simulated BMC. */
    static std::vector<std::string>
    running(const std::vector<std::string>& command)
    {
        auto line = simulator({"run", "--manager", GetParam().manager, "--"});
        line.insert(line.end(), command.begin(), command.end());
        return line;
    }

    /** The command line of a shell in a simulated BMC whose traces can be
     *  found.
     */
    std::vector<std::string> runningShell(const std::string& script) const
    {
        return running({"sh", "-c", tellName + script});
    }

    Completed bmcsim(const std::vector<std::string>& command) const
    {
        auto line = runningShell("exec \"$@\"");
        line.emplace_back("sh");
        line.insert(line.end(), command.begin(), command.end());
        return run(line, environment());
    }

    /** What is left of this test's simulated BMCs: directories, control groups
     *  and processes.
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
        for (const auto process : processes())
        {
            found += "/proc/" + std::to_string(process) + '\n';
        }
        return found;
    }

    /** The processes of this test's simulated BMCs, and of their commands. */
    std::set<pid_t> processes() const
    {
        std::set<pid_t> found;
        std::error_code ended;
        for (const auto& entry : std::filesystem::directory_iterator("/proc"))
        {
            const auto words = textOf(entry.path() / "cmdline") +
                               textOf(entry.path() / "environ");
            const auto process = std::atoi(entry.path().filename().c_str());
            if (process > 0 && process != getpid() &&
                words.find(temporary.path()) != std::string::npos)
            {
                found.insert(process);
            }
        }
        return found;
    }

    /** Traces go as soon as the processes have. */
    void expectNoTraces() const
    {
        try
        {
            awaitTrue("no traces", [this] { return traces().empty(); });
        }
        catch (const std::exception&)
        {
            // The assertion says which are left.
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

/** Names the instances of such a suite. */
inline std::string nameOf(const testing::TestParamInfo<Condition>& row)
{
    return row.param.name;
}

inline auto inAllConditions()
{
    return testing::Values(Condition{"Systemd", "systemd"},
                           Condition{"Builtin", "builtin"},
                           Condition{"DockersRoot", "builtin", asDockersRoot},
                           Condition{"OrdinaryUser", "builtin", asNobody});
}

} // namespace test
