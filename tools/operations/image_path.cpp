// SPDX-License-Identifier: Apache-2.0
#include "image_path.hpp"

#include "../common/failure.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

[[noreturn]] static void refuse(const std::string& path, const std::string& why,
                                const std::string& hint)
{
    throw Failure(ExitStatus::wrongUsage, path + ": " + why, hint);
}

std::string usableImage(const std::string& given, bool mayBeDirectory)
{
    if (given.empty())
    {
        refuse("''", "is no path", "name an image file");
    }
    // Not blocking: a FIFO must not hold the tool up.
    const auto file = open(given.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
    {
        refuse(given, std::strerror(errno),
               "name an image file that can be read");
    }
    struct stat status = {};
    const auto isUsable = fstat(file, &status) == 0 &&
                          (S_ISREG(status.st_mode) ||
                           (mayBeDirectory && S_ISDIR(status.st_mode)));
    close(file);
    if (!isUsable)
    {
        refuse(given, "is not a file", "name an image file");
    }
    return std::filesystem::absolute(given);
}
