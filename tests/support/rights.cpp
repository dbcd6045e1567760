// SPDX-License-Identifier: Apache-2.0
#include "rights.hpp"

#include "process.hpp"

#include <linux/capability.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace test::rights
{

static bool has(unsigned capability)
{
    const std::string name = "CapEff:";
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
    {
        if (line.starts_with(name))
        {
            const auto set = std::stoull(line.substr(name.size()), nullptr, 16);
            return (set >> capability & 1) != 0;
        }
    }
    return false;
}

static std::string unless(bool isThere, const std::string& missing)
{
    return isThere ? "" : missing;
}

std::string missingForSystemd()
{
    if (access("/lib/systemd/systemd", X_OK) != 0)
    {
        return "needs systemd, which is not installed";
    }
    return unless(has(CAP_SYS_ADMIN),
                  "needs a real systemd, and so root with CAP_SYS_ADMIN");
}

std::string managerOr(const std::string& wanted)
{
    return missingForSystemd().empty() ? wanted : "builtin";
}

std::string missingForOtherUsers()
{
    return unless(has(CAP_SETUID) && has(CAP_SETGID),
                  "needs root, to start programs as another user");
}

std::string missingForOtherUsersOfTheBuild()
{
    namespace fs = std::filesystem;
    const auto program = fs::read_symlink("/proc/self/exe");
    for (auto folder = program.parent_path(); folder.has_relative_path();
         folder = folder.parent_path())
    {
        if ((fs::status(folder).permissions() & fs::perms::others_exec) ==
            fs::perms::none)
        {
            return "needs a build that other users reach, and " +
                   folder.string() + " keeps them out";
        }
    }
    return missingForOtherUsers();
}

std::string missingForMounts()
{
    return unless(has(CAP_SYS_ADMIN),
                  "needs to mount, and so root with CAP_SYS_ADMIN");
}

std::string missingForInstallation()
{
    const auto logs = fromEnvironment("WEXA_BUILD") + "/meson-logs";
    return unless(access(logs.c_str(), W_OK) == 0,
                  "needs to write the log of an installation to " + logs);
}

} // namespace test::rights
