// SPDX-License-Identifier: Apache-2.0
#include "image_identity.hpp"

#include "../common/failure.hpp"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

ImageIdentity::ImageIdentity(const std::string& path)
{
    add(path);
    std::error_code notADirectory;
    for (const auto& entry :
         std::filesystem::directory_iterator(path, notADirectory))
    {
        add(entry.path());
    }
}

void ImageIdentity::add(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
    {
        throw Failure(ExitStatus::imageRefused,
                      path + ": " + std::strerror(errno),
                      "keep the image where it is until it is flashed");
    }
    files[path] = {status.st_dev, status.st_ino, status.st_size,
                   status.st_ctim.tv_sec, status.st_ctim.tv_nsec};
}
