// SPDX-License-Identifier: Apache-2.0
#include "image_guard.hpp"

#include "../common/failure.hpp"

#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

[[noreturn]] static void refuse(const std::string& path, const std::string& why)
{
    throw Failure(ExitStatus::imageRefused, path + ": " + why,
                  "keep the image where it is until it is flashed");
}

bool isRemoved(const std::string& path)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) != 0 &&
           (errno == ENOENT || errno == ENOTDIR);
}

ImageGuard::ImageGuard(std::string image) :
    image(std::move(image)), before(filesOf(this->image)),
    events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    const fs::path path(this->image);
    directory =
        watch(path.parent_path(), IN_CREATE | IN_MOVED_TO | IN_MOVE_SELF);
    for (const auto& [file, state] : before)
    {
        watch(file, IN_MODIFY | IN_CREATE | IN_MOVED_TO | IN_DONT_FOLLOW);
    }
}

ImageGuard::Files ImageGuard::filesOf(const std::string& image)
{
    Files files;
    const auto add = [&](const std::string& path) {
        struct stat status = {};
        if (lstat(path.c_str(), &status) != 0)
        {
            refuse(path, std::strerror(errno));
        }
        files[path] = {status.st_dev, status.st_ino, status.st_size,
                       status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
    };
    add(image);
    std::error_code error;
    fs::recursive_directory_iterator entry(image, error);
    for (; !error && entry != fs::recursive_directory_iterator();
         entry.increment(error))
    {
        add(entry->path());
    }
    if (error && error != std::errc::not_a_directory)
    {
        refuse(image, error.message());
    }
    return files;
}

int ImageGuard::watch(const std::string& path, unsigned changes)
{
    const auto watch =
        inotify_add_watch(events.number(), path.c_str(), changes);
    isBlind = isBlind || watch < 0;
    return watch;
}

void ImageGuard::requireUnchanged() const
{
    const auto removed = isRemoved(image);
    if (removed || filesOf(image) != before)
    {
        throw Failure(ExitStatus::imageRefused,
                      image + ": " + (removed ? "was removed" : "changed") +
                          " before it could be flashed",
                      "keep images where no other program writes, and update "
                      "again");
    }
}

void ImageGuard::requireUnchangedByNow()
{
    if (!isUnchanged())
    {
        throw Failure(ExitStatus::flashFailed,
                      image + ": the image changed while it was flashed",
                      "keep images where no other program writes, and flash "
                      "again before the device starts from it");
    }
}

bool ImageGuard::isUnchanged()
{
    if (isRemoved(image))
    {
        return !sawChange();
    }
    try
    {
        return filesOf(image) == before;
    }
    catch (const Failure&)
    {
        // It is removed just now: what was flashed cannot be told.
        return false;
    }
}

bool ImageGuard::isChange(int watch, unsigned mask,
                          const std::string& entry) const
{
    if ((mask & (IN_Q_OVERFLOW | IN_UNMOUNT | IN_MOVE_SELF)) != 0)
    {
        return true;
    }
    // A watch ends with what it is on.
    return (mask & IN_IGNORED) == 0 &&
           (watch != directory || entry == fs::path(image).filename());
}

bool ImageGuard::sawChange()
{
    alignas(inotify_event) std::array<char, 4096> buffer{};
    ssize_t size = 0;
    while (!isBlind &&
           (size = read(events.number(), buffer.data(), buffer.size())) > 0)
    {
        for (ssize_t at = 0; at < size;)
        {
            const auto* const event =
                reinterpret_cast<const inotify_event*>(&buffer[at]);
            isBlind = isBlind || isChange(event->wd, event->mask,
                                          event->len > 0 ? event->name : "");
            at += static_cast<ssize_t>(sizeof(inotify_event)) + event->len;
        }
    }
    return isBlind || errno != EAGAIN;
}
