// SPDX-License-Identifier: Apache-2.0
#include "directory_tree.hpp"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <algorithm>
#include <cstdint>
#include <memory>

namespace bmcsim
{

/** The mount on which a file lies, where the kernel tells it, and the device.
 */
struct Place
{
    explicit Place(int file)
    {
        struct statx status = {};
        isKnown = statx(file, "", AT_EMPTY_PATH, STATX_MNT_ID, &status) == 0;
        const auto isMountKnown = (status.stx_mask & STATX_MNT_ID) != 0;
        mount = isMountKnown ? status.stx_mnt_id : 0;
        device = makedev(status.stx_dev_major, status.stx_dev_minor);
    }

    bool operator==(const Place&) const = default;

    bool isKnown;
    /** Bind mounts of one file system share its device. */
    std::uint64_t mount;
    dev_t device;
};

/** A directory in `parent`; none where something is mounted on it. */
static Descriptor openWithinMount(int parent, const char* name)
{
    const Descriptor directory(
        openat(parent, name, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!directory)
    {
        return {};
    }
    const Place place(directory.get());
    return place.isKnown && place == Place(parent) ? openToEmpty(directory)
                                                   : Descriptor();
}

Descriptor openToEmpty(const Descriptor& directory)
{
    // Where this fails the mode may do as it is.
    chmod(std::string("/proc/self/fd/")
              .append(std::to_string(directory.get()))
              .c_str(),
          S_IRWXU);
    return Descriptor(
        openat(directory.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
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

bool removeContents(int directory, const std::vector<std::string>& kept)
{
    // Reading moves the position of a descriptor: this one is its own.
    const auto list = openat(directory, ".", O_RDONLY | O_CLOEXEC);
    const std::unique_ptr<DIR, CloseDirectory> entries(
        list < 0 ? nullptr : fdopendir(list));
    if (!entries)
    {
        return false;
    }
    auto isEmpty = true;
    while (const auto* const entry = readdir(entries.get()))
    {
        const std::string name = entry->d_name;
        if (name != "." && name != ".." &&
            std::ranges::find(kept, name) == kept.end())
        {
            isEmpty = removeEntry(directory, entry->d_name) && isEmpty;
        }
    }
    return isEmpty;
}

} // namespace bmcsim
