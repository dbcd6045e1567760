// SPDX-License-Identifier: Apache-2.0
#include "directory_tree.hpp"

#include "descriptor.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <memory>

namespace bmcsim
{

static dev_t deviceOf(int file)
{
    struct stat status = {};
    return fstat(file, &status) == 0 ? status.st_dev : 0;
}

/** A directory in `parent`; none where something is mounted on it. */
static Descriptor openWithinMount(int parent, const char* name)
{
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    open_how how{};
    how.flags = flags;
    how.resolve = RESOLVE_NO_XDEV;
    const auto opened = syscall(SYS_openat2, parent, name, &how, sizeof(how));
    if (opened >= 0 || (errno != ENOSYS && errno != EPERM))
    {
        return Descriptor(static_cast<int>(opened));
    }
    // An old kernel, or a container that forbids new calls.
    Descriptor directory(openat(parent, name, flags));
    return directory && deviceOf(directory.get()) == deviceOf(parent)
               ? std::move(directory)
               : Descriptor();
}

static bool removeEntry(int parent, const char* name)
{
    if (unlinkat(parent, name, 0) == 0)
    {
        return true;
    }
    const auto directory = openWithinMount(parent, name);
    return directory && removeContents(directory.get()) &&
           unlinkat(parent, name, AT_REMOVEDIR) == 0;
}

struct CloseDirectory
{
    void operator()(DIR* entries) const
    {
        closedir(entries);
    }
};

bool removeContents(int directory, const std::string& kept)
{
    // Reading moves the position of a descriptor: this one is its own.
    const auto list = openat(directory, ".", O_RDONLY | O_CLOEXEC);
    const std::unique_ptr<DIR, CloseDirectory> entries(fdopendir(list));
    if (!entries)
    {
        return false;
    }
    auto isEmpty = true;
    while (const auto* const entry = readdir(entries.get()))
    {
        const std::string name = entry->d_name;
        if (name != "." && name != ".." && name != kept)
        {
            isEmpty = removeEntry(directory, entry->d_name) && isEmpty;
        }
    }
    return isEmpty;
}

} // namespace bmcsim
