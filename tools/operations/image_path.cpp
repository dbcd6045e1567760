// SPDX-License-Identifier: Apache-2.0
#include "image_path.hpp"

#include "../common/descriptor.hpp"
#include "../common/failure.hpp"
#include "../common/kind.hpp"
#include "../common/shortage.hpp"
#include "../common/unit_name.hpp"

#include <fcntl.h>
#include <plain.hpp>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace fs = std::filesystem;

namespace
{

[[noreturn]] void refuse(const std::string& path, const std::string& why,
                         const std::string& hint)
{
    throw Failure(ExitStatus::wrongUsage, path + ": " + why, hint);
}

[[noreturn]] void refuseUnreadable(const std::string& path, int error)
{
    if (shortage::isOne(error))
    {
        throw shortage::failure(path, error);
    }
    refuse(path, std::strerror(error), "name an image file that can be read");
}

Descriptor opened(const std::string& path, int flags, const std::string& given)
{
    Descriptor file(open(path.c_str(), flags | O_CLOEXEC));
    if (!file.isOpen())
    {
        refuseUnreadable(given, errno);
    }
    return file;
}

void requireReadable(const std::string& given, bool mayBeDirectory)
{
    // Looked at before it is opened: to open a device may start what it does.
    const auto seen = opened(given, O_PATH, given);
    struct stat status = {};
    const auto isImage = fstat(seen.number(), &status) == 0 &&
                         (S_ISREG(status.st_mode) ||
                          (mayBeDirectory && S_ISDIR(status.st_mode)));
    if (!isImage)
    {
        refuse(given, "is not a file", "name an image file");
    }
    // The one that was looked at, whatever the path leads to by now.
    opened("/proc/self/fd/" + std::to_string(seen.number()),
           O_RDONLY | O_NONBLOCK, given);
}

/** Services have working directories of their own. */
std::string absolute(const std::string& given)
{
    std::error_code error;
    auto path = fs::absolute(given, error).string();
    if (error)
    {
        refuse(given, "the working directory is gone: " + error.message(),
               "name the image by its whole path");
    }
    if (!plain::isUtf8(path))
    {
        refuse(path, "is not UTF-8",
               "D-Bus carries UTF-8 only: move the image to another directory");
    }
    return path;
}

} // namespace

std::string usableImage(const std::string& given, const std::string& kind)
{
    if (given.empty())
    {
        refuse("''", "is no path", "name an image file");
    }
    requireReadable(given, kindNamed(kind).hasComponents);
    return absolute(given);
}

void requireSignedImage(const std::string& image)
{
    std::error_code error;
    if (!fs::is_directory(image, error))
    {
        return;
    }
    fs::directory_iterator entry(image, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error))
    {
        // The whole path counts, so a directory of that name matches, too.
        const auto path = entry->path().string();
        if (path.find("image_cpld_signed") == std::string::npos)
        {
            continue;
        }
        if (!plain::isUtf8(path))
        {
            refuse(path, "is not UTF-8",
                   "D-Bus carries UTF-8 only: rename the signed image");
        }
        return;
    }
    if (error)
    {
        refuseUnreadable(image, error.value());
    }
    refuse(image,
           "the directory holds no entry whose name contains "
           "\"image_cpld_signed\"",
           "name the signed image in it so, or name the image file itself");
}

void warnOfUpdate(const Request& request, const std::string& image)
{
    if (const auto obstacle =
            obstacleOfUpdate(request.kind, request.component, image))
    {
        request.warn("update refuses " + obstacle->what, obstacle->hint);
    }
}
