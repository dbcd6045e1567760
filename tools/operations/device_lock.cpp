// SPDX-License-Identifier: Apache-2.0
#include "device_lock.hpp"

#include "../common/failure.hpp"
#include "../common/systemd.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

/** The runtime directory of the systemd that is asked to flash. */
static std::string runtimeDirectory(const std::string& bus)
{
    const auto* const users = std::getenv("XDG_RUNTIME_DIR");
    const auto isOthers = !systemd::isSystems(bus) || geteuid() != 0;
    return isOthers && users != nullptr && *users == '/' ? users : "/run";
}

[[noreturn]] static void refuse(const std::string& image,
                                const std::string& path)
{
    throw Failure(ExitStatus::callFailed,
                  image + ": cannot lock its device with " + path + ": " +
                      std::strerror(errno),
                  "run the tool as root, or set XDG_RUNTIME_DIR to a "
                  "directory of your own");
}

/** Whether the file at a path is still the one that was opened there. */
static bool isStillAt(const std::string& path, int file)
{
    struct stat opened = {};
    struct stat there = {};
    return fstat(file, &opened) == 0 && stat(path.c_str(), &there) == 0 &&
           opened.st_dev == there.st_dev && opened.st_ino == there.st_ino;
}

/** Another user could hold a lock in a directory of theirs, or remove it. */
static bool isOwn(const std::string& directory)
{
    struct stat status = {};
    return lstat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == geteuid() &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

DeviceLock::DeviceLock(const std::string& bus, const std::string& busId,
                       const std::string& device, const std::string& image)
{
    const auto directory = runtimeDirectory(bus) + "/wexa-fwmgr";
    path = directory + '/' + busId + '-' + device + ".lock";
    if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST)
    {
        refuse(image, directory);
    }
    if (!isOwn(directory))
    {
        errno = EPERM;
        refuse(image, directory);
    }
    // A tool that ends removes the file: this lock may be on a removed one.
    do
    {
        if (file >= 0)
        {
            close(file);
        }
        file =
            open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (file < 0)
        {
            refuse(image, path);
        }
        if (flock(file, LOCK_EX | LOCK_NB) != 0)
        {
            const auto isLocked = errno == EWOULDBLOCK;
            close(file);
            if (!isLocked)
            {
                refuse(image, path);
            }
            throw Failure(ExitStatus::flashNotRun,
                          image + ": another wexa-fwmgr flashes its device, or "
                                  "is about to",
                          "wait until it has ended");
        }
    } while (!isStillAt(path, file));
}

DeviceLock::~DeviceLock()
{
    unlink(path.c_str());
    close(file);
}
