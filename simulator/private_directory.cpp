// SPDX-License-Identifier: Apache-2.0
#include "private_directory.hpp"

#include "child.hpp"
#include "directory_tree.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace bmcsim
{

constexpr auto prefix = "wexa-bmcsim.";

/** The file by which a private directory is known as one. The processes of
 *  the simulated BMC hold a lock on it for as long as they live.
 */
constexpr auto lockName = "lock";

/** The name of that file until it is locked and says whose it is. */
constexpr auto unfinishedLockName = "lock.new";

/** Other characters have a meaning in bus addresses and unit files. */
static bool isUsable(char c)
{
    constexpr std::string_view others = "/._-";
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
           (c >= 'A' && c <= 'Z') || others.find(c) != std::string_view::npos;
}

static void checkBase(const std::string& base, std::size_t length)
{
    if (!std::ranges::all_of(base, isUsable))
    {
        throw std::runtime_error(
            "the path " + base +
            " holds other characters than letters, digits, \"/\", \".\", "
            "\"_\" and \"-\"; set TMPDIR to another");
    }
    // systemd's own socket has the longest name.
    if (length + sizeof("/manager/systemd/private") >
        sizeof(sockaddr_un::sun_path))
    {
        throw std::runtime_error("the path " + base +
                                 " is too long for sockets; set TMPDIR to a "
                                 "shorter one");
    }
}

/** Absolute: programs inside have working directories of their own. */
static std::filesystem::path baseDirectory()
{
    return std::filesystem::absolute(std::filesystem::temp_directory_path());
}

static std::string makeDirectory()
{
    const auto base = baseDirectory();
    auto name = (base / (prefix + std::string("XXXXXX"))).string();
    checkBase(base, name.size());
    if (mkdtemp(name.data()) == nullptr)
    {
        fail("cannot make a directory in " + base.string());
    }
    return name;
}

static Descriptor openFolder(const std::filesystem::path& path)
{
    return Descriptor(
        open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

/** What the lock file says: it belongs to this directory and to no copy. */
static std::string lockText(const Descriptor& folder)
{
    struct statx status = {};
    checked(statx(folder.get(), "", AT_EMPTY_PATH, STATX_INO | STATX_BTIME,
                  &status),
            "statx");
    return "A simulated BMC lives in the directory " +
           std::to_string(status.stx_ino) + " of " +
           std::to_string(status.stx_btime.tv_sec) + '.' +
           std::to_string(status.stx_btime.tv_nsec) + ".\n";
}

/** Makes the lock file and locks it; none where another start has removed the
 *  directory, which was not locked yet.
 */
static Descriptor makeLock(const std::filesystem::path& root)
{
    const auto orRemoved = [&root]() -> Descriptor {
        if (errno == ENOENT || errno == EWOULDBLOCK)
        {
            return {};
        }
        fail(root / unfinishedLockName);
    };
    const auto folder = openFolder(root);
    if (!folder)
    {
        return orRemoved();
    }
    Descriptor lock(openat(folder.get(), unfinishedLockName,
                           O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!lock || flock(lock.get(), LOCK_EX | LOCK_NB) < 0)
    {
        return orRemoved();
    }
    const auto text = lockText(folder);
    if (write(lock.get(), text.data(), text.size()) !=
        static_cast<ssize_t>(text.size()))
    {
        fail(root / unfinishedLockName);
    }
    return renameat(folder.get(), unfinishedLockName, folder.get(), lockName) ==
                   0
               ? std::move(lock)
               : orRemoved();
}

void OwnedDirectory::make()
{
    do
    {
        directory = PrivateDirectory{makeDirectory()};
        lock = makeLock(directory.path());
    } while (!lock);
    for (const auto& part :
         {directory.runtime(), directory.managerRuntime(), directory.units(),
          directory.empty(), directory.flash(), directory.path() / "log"})
    {
        std::filesystem::create_directory(part);
        std::filesystem::permissions(part, std::filesystem::perms::owner_all);
    }
}

OwnedDirectory::OwnedDirectory() : directory("")
{
    try
    {
        make();
    }
    catch (const std::exception&)
    {
        directory.remove();
        throw;
    }
}

OwnedDirectory::~OwnedDirectory()
{
    directory.remove();
}

static bool isOwn(const Descriptor& file, mode_t kind)
{
    struct stat status = {};
    return file && fstat(file.get(), &status) == 0 &&
           (status.st_mode & S_IFMT) == kind && status.st_uid == geteuid();
}

static bool holds(const Descriptor& file, const std::string& text)
{
    std::string content(text.size() + 1, '\0');
    const auto size = pread(file.get(), content.data(), content.size(), 0);
    return size == static_cast<ssize_t>(text.size()) &&
           content.starts_with(text);
}

static Descriptor openOwnFile(const Descriptor& folder, const char* name)
{
    Descriptor file(openat(folder.get(), name,
                           O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    return isOwn(file, S_IFREG) ? std::move(file) : Descriptor();
}

/** The lock file of a private directory of this user; none where it is
 *  anything else.
 */
static Descriptor openLock(const std::filesystem::path& path)
{
    const auto folder = openFolder(path);
    if (!isOwn(folder, S_IFDIR))
    {
        return {};
    }
    auto lock = openOwnFile(folder, lockName);
    return lock && holds(lock, lockText(folder)) ? std::move(lock)
                                                 : Descriptor();
}

/** Removes a directory whose start was killed before it had its lock file. */
static void removeUnfinished(const std::filesystem::path& path)
{
    const auto folder = openFolder(path);
    if (!isOwn(folder, S_IFDIR))
    {
        return;
    }
    const auto lock = openOwnFile(folder, unfinishedLockName);
    if (lock && flock(lock.get(), LOCK_EX | LOCK_NB) == 0)
    {
        unlinkat(folder.get(), unfinishedLockName, 0);
    }
    // It stays where it holds anything else.
    rmdir(path.c_str());
}

/** Whether a directory may have been named by this program. */
static bool isNamedAsPrivate(const PrivateDirectory& directory)
{
    const std::string_view start = prefix;
    constexpr auto random = 6;
    return directory.name().starts_with(start) &&
           directory.name().size() == start.size() + random;
}

/** All directories that may be private ones, of any user. */
static std::vector<PrivateDirectory> candidates()
{
    std::vector<PrivateDirectory> found;
    // A directory that cannot be listed may still be written to.
    std::error_code error;
    std::filesystem::directory_iterator entry(baseDirectory(), error);
    for (; !error && entry != std::filesystem::directory_iterator();
         entry.increment(error))
    {
        const PrivateDirectory candidate{entry->path()};
        if (isNamedAsPrivate(candidate))
        {
            found.push_back(candidate);
        }
    }
    return found;
}

std::vector<PrivateDirectory> PrivateDirectory::running()
{
    auto found = candidates();
    std::erase_if(found, [](const PrivateDirectory& each) {
        const auto lock = openLock(each.path());
        return !lock || flock(lock.get(), LOCK_SH | LOCK_NB) == 0 ||
               !std::filesystem::exists(each.busSocket());
    });
    return found;
}

void PrivateDirectory::removeDead(void (*prepare)(const PrivateDirectory&))
{
    for (const auto& each : candidates())
    {
        const auto lock = openLock(each.path());
        if (!lock)
        {
            removeUnfinished(each.path());
        }
        else if (flock(lock.get(), LOCK_EX | LOCK_NB) == 0)
        {
            prepare(each);
            each.remove();
        }
    }
}

void PrivateDirectory::remove() const noexcept
{
    const auto folder = openToEmpty(Descriptor(
        open(root.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)));
    const auto record = groupRecord();
    // The lock goes last: without it what is left would belong to nothing.
    if (folder &&
        removeContents(folder.get(), {lockName, record.filename().string()}) &&
        faccessat(folder.get(), record.filename().c_str(), F_OK,
                  AT_SYMLINK_NOFOLLOW) != 0)
    {
        unlinkat(folder.get(), lockName, 0);
        rmdir(root.c_str());
    }
}

} // namespace bmcsim
