// SPDX-License-Identifier: Apache-2.0
#include "image_watch.hpp"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>

namespace fs = std::filesystem;

ImageWatch::ImageWatch(const std::string& image) :
    events(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)),
    name(fs::path(image).filename())
{
    directory = inotify_add_watch(events.number(),
                                  fs::path(image).parent_path().c_str(),
                                  IN_CREATE | IN_MOVED_TO | IN_MOVE_SELF);
    isBlind = directory < 0;
    add(image);
    std::error_code error;
    fs::recursive_directory_iterator entry(image, error);
    for (; !error && entry != fs::recursive_directory_iterator();
         entry.increment(error))
    {
        add(entry->path());
    }
    isBlind = isBlind || (error && error != std::errc::not_a_directory);
}

void ImageWatch::add(const std::string& path)
{
    isBlind = isBlind || inotify_add_watch(events.number(), path.c_str(),
                                           IN_MODIFY | IN_CREATE | IN_MOVED_TO |
                                               IN_DONT_FOLLOW) < 0;
}

bool ImageWatch::isChange(int watch, unsigned mask,
                          const std::string& entry) const
{
    if ((mask & (IN_Q_OVERFLOW | IN_UNMOUNT | IN_MOVE_SELF)) != 0)
    {
        return true;
    }
    // A watch ends with what it is on.
    return (mask & IN_IGNORED) == 0 && (watch != directory || entry == name);
}

bool ImageWatch::sawChange()
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
