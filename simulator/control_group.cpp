// SPDX-License-Identifier: Apache-2.0
#include "control_group.hpp"

#include "child.hpp"
#include "patience.hpp"

#include <linux/magic.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/vfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>

namespace bmcsim::controlGroup
{

/** A mount namespace whose mounts no other process sees.
 *
 *  Making "/" private would do where it is a mount, which it is not in a
 *  chroot. So a private copy of all mounts is put over /proc, which is one,
 *  and becomes the root.
 */
static void leaveHostsMounts()
{
    const auto what = "cannot have mounts of its own";
    const auto place = "/proc";
    checked(unshare(CLONE_NEWNS), what);
    checked(mount(nullptr, place, nullptr, MS_PRIVATE, nullptr), what);
    checked(mount("/", place, nullptr, MS_BIND | MS_REC, nullptr), what);
    checked(mount(nullptr, place, nullptr, MS_PRIVATE | MS_REC, nullptr), what);
    checked(chroot(place), what);
    checked(chdir("/"), what);
}

static void mountHierarchy(const std::filesystem::path& where)
{
    checked(mount("cgroup2", where.c_str(), "cgroup2", 0, nullptr),
            "cannot mount the control groups");
    struct statfs status = {};
    checked(statfs(where.c_str(), &status), where);
    if (status.f_type != CGROUP2_SUPER_MAGIC)
    {
        throw std::runtime_error("there are no control groups of version 2");
    }
}

/** Where the calling process is in the hierarchy, such as "/user.slice". */
static std::string ownGroup()
{
    const std::string prefix = "0::";
    std::ifstream groups("/proc/self/cgroup");
    std::string line;
    while (std::getline(groups, line))
    {
        if (line.starts_with(prefix))
        {
            return line.substr(prefix.size());
        }
    }
    return "/";
}

/** The group of the simulated BMC, below the one in which it was started.
 *
 *  @throw std::runtime_error  that one lies outside of what can be seen
 */
static std::filesystem::path groupBelow(const std::filesystem::path& hierarchy,
                                        const std::string& parent,
                                        const PrivateDirectory& directory)
{
    if (!parent.starts_with('/') || parent.find("/..") != std::string::npos)
    {
        throw std::runtime_error("the own control group, " + parent +
                                 ", cannot be seen from here");
    }
    return hierarchy.string() + parent + '/' + directory.name();
}

static void record(const PrivateDirectory& directory, const std::string& parent)
{
    if (!(std::ofstream(directory.groupRecord()) << parent << std::flush))
    {
        fail(directory.groupRecord());
    }
}

static std::string recorded(const PrivateDirectory& directory)
{
    std::string parent;
    std::getline(std::ifstream(directory.groupRecord()), parent);
    // The record may have gone before, by another's hand.
    return parent.empty() ? ownGroup() : parent;
}

void enter(const PrivateDirectory& directory)
{
    leaveHostsMounts();
    const auto& whole = directory.empty();
    mountHierarchy(whole);
    const auto parent = ownGroup();
    const auto group = groupBelow(whole, parent, directory);
    record(directory, parent);
    std::filesystem::create_directory(group);
    if (!(std::ofstream(group / "cgroup.procs") << getpid() << std::flush))
    {
        fail("cannot enter a control group");
    }
    checked(unshare(CLONE_NEWCGROUP), "cannot have control groups of its own");
    checked(umount2(whole.c_str(), MNT_DETACH), "cannot unmount");
    mountHierarchy("/sys/fs/cgroup");
}

static void killProcesses(const std::filesystem::path& group)
{
    std::ifstream processes(group / "cgroup.procs");
    pid_t process = 0;
    while (processes >> process)
    {
        // 0 is a process that this namespace does not see.
        if (process > 0)
        {
            kill(process, SIGKILL);
        }
    }
}

static void removeGroups(const std::filesystem::path& group)
{
    if (!std::filesystem::is_directory(group))
    {
        return;
    }
    for (const auto& entry : std::filesystem::directory_iterator(group))
    {
        if (entry.is_directory())
        {
            removeGroups(entry.path());
        }
    }
    // A process that was just killed keeps its group for a moment.
    const auto isRemoved = within(std::chrono::seconds(2), [&] {
        killProcesses(group);
        return rmdir(group.c_str()) == 0;
    });
    if (!isRemoved)
    {
        fail(group);
    }
}

void remove(const PrivateDirectory& directory) noexcept
{
    // The hierarchy may be mounted nowhere that this process can see.
    const auto remover = fork();
    if (remover < 0)
    {
        return;
    }
    if (remover == 0)
    {
        try
        {
            leaveHostsMounts();
            // An attempt that failed may have left nothing but the record.
            std::filesystem::create_directory(directory.empty());
            mountHierarchy(directory.empty());
            removeGroups(
                groupBelow(directory.empty(), recorded(directory), directory));
            std::filesystem::remove(directory.groupRecord());
            _exit(EXIT_SUCCESS);
        }
        catch (const std::exception&)
        {
            // The next start of a simulated BMC tries again.
            _exit(EXIT_FAILURE);
        }
    }
    waitpid(remover, nullptr, 0);
}

void removeIfLeft(const PrivateDirectory& directory) noexcept
{
    if (access(directory.groupRecord().c_str(), F_OK) == 0)
    {
        remove(directory);
    }
}

} // namespace bmcsim::controlGroup
