// SPDX-License-Identifier: Apache-2.0
#include "private_directory.hpp"

#include "child.hpp"
#include "directory_tree.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
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
constexpr std::string_view lockText = "A simulated BMC lives here.\n";

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

/** Makes the lock file and locks it; it has its name only when it is locked.
 */
static Descriptor makeLock(const std::filesystem::path& root)
{
    const auto unfinished = root / "lock.new";
    Descriptor lock(checked(
        open(unfinished.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600),
        unfinished));
    checked(flock(lock.get(), LOCK_EX | LOCK_NB), unfinished);
    if (write(lock.get(), lockText.data(), lockText.size()) !=
        static_cast<ssize_t>(lockText.size()))
    {
        fail(unfinished);
    }
    std::filesystem::rename(unfinished, root / lockName);
    return lock;
}

OwnedDirectory::OwnedDirectory() : directory(makeDirectory())
{
    try
    {
        for (const auto& part :
             {directory.runtime(), directory.managerRuntime(),
              directory.units(), directory.empty(), directory.flash(),
              directory.path() / "log"})
        {
            std::filesystem::create_directory(part);
            std::filesystem::permissions(part,
                                         std::filesystem::perms::owner_all);
        }
        lock = makeLock(directory.path());
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

/** The lock file of a private directory of this user; none where it is
 *  anything else.
 */
static Descriptor openLock(const std::filesystem::path& path)
{
    const Descriptor folder(
        open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    Descriptor lock;
    if (isOwn(folder, S_IFDIR))
    {
        lock = Descriptor(openat(folder.get(), lockName,
                                 O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
    }
    std::array<char, lockText.size() + 1> text{};
    const auto isLock =
        isOwn(lock, S_IFREG) &&
        pread(lock.get(), text.data(), text.size(), 0) ==
            static_cast<ssize_t>(lockText.size()) &&
        lockText == std::string_view(text.data(), lockText.size());
    return isLock ? std::move(lock) : Descriptor();
}

/** Calls `use` with each private directory of this user and its open lock. */
template <typename Use>
static void forEachOwn(Use&& use)
{
    // A directory that cannot be listed may still be written to.
    std::error_code error;
    std::filesystem::directory_iterator entry(baseDirectory(), error);
    for (; !error && entry != std::filesystem::directory_iterator();
         entry.increment(error))
    {
        const PrivateDirectory candidate{entry->path()};
        if (candidate.name().starts_with(prefix))
        {
            if (const auto lock = openLock(entry->path()))
            {
                use(candidate, lock);
            }
        }
    }
}

std::vector<PrivateDirectory> PrivateDirectory::running()
{
    std::vector<PrivateDirectory> found;
    forEachOwn([&](const PrivateDirectory& each, const Descriptor& lock) {
        if (flock(lock.get(), LOCK_SH | LOCK_NB) < 0 &&
            std::filesystem::exists(each.busSocket()))
        {
            found.push_back(each);
        }
    });
    return found;
}

void PrivateDirectory::removeDead(void (*prepare)(const PrivateDirectory&))
{
    forEachOwn([&](const PrivateDirectory& each, const Descriptor& lock) {
        if (flock(lock.get(), LOCK_EX | LOCK_NB) == 0)
        {
            prepare(each);
            each.remove();
        }
    });
}

void PrivateDirectory::remove() const noexcept
{
    const Descriptor folder(
        open(root.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    // The lock goes last: without it what is left would belong to nothing.
    if (folder && removeContents(folder.get(), lockName))
    {
        unlinkat(folder.get(), lockName, 0);
        rmdir(root.c_str());
    }
}

} // namespace bmcsim
