// SPDX-License-Identifier: Apache-2.0
#include "signed_image.hpp"

#include <dirent.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <memory>

namespace fuzz
{

[[noreturn]] static void fail()
{
    throw std::filesystem::filesystem_error(
        "examine", std::error_code(errno, std::generic_category()));
}

static bool isDotOrDotDot(const std::string& name)
{
    return name == "." || name == "..";
}

struct CloseDirectory
{
    void operator()(DIR* open) const
    {
        closedir(open);
    }
};

static std::string signedEntry(const std::string& directory)
{
    const std::unique_ptr<DIR, CloseDirectory> open(opendir(directory.c_str()));
    if (!open)
    {
        fail();
    }
    while (const auto* const entry = readdir(open.get()))
    {
        const std::string name = entry->d_name;
        const auto path =
            directory + (directory.ends_with('/') ? "" : "/") + name;
        if (!isDotOrDotDot(name) &&
            path.find("image_cpld_signed") != std::string::npos)
        {
            return path;
        }
    }
    return directory;
}

std::optional<std::string> signedImage(const std::string& path)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
    {
        if (errno == ENOENT || errno == ENOTDIR)
        {
            return {};
        }
        fail();
    }
    return S_ISDIR(status.st_mode) ? signedEntry(path) : path;
}

} // namespace fuzz
