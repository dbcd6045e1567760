// SPDX-License-Identifier: Apache-2.0
#include "image_identity.hpp"

#include "../common/failure.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

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

ImageIdentity::ImageIdentity(const std::string& path)
{
    add(path);
    std::error_code error;
    std::filesystem::recursive_directory_iterator entry(path, error);
    for (; !error && entry != std::filesystem::recursive_directory_iterator();
         entry.increment(error))
    {
        add(entry->path());
    }
    if (error && error != std::errc::not_a_directory)
    {
        refuse(path, error.message());
    }
}

void ImageIdentity::add(const std::string& path)
{
    struct stat status = {};
    if (lstat(path.c_str(), &status) != 0)
    {
        refuse(path, std::strerror(errno));
    }
    files[path] = {status.st_dev, status.st_ino, status.st_size,
                   status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}
