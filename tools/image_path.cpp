// SPDX-License-Identifier: Apache-2.0
#include "image_path.hpp"

#include "failure.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

[[noreturn]] static void refuse(const std::string& path, const std::string& why)
{
    throw Failure(ExitStatus::wrongUsage, path + ": " + why);
}

std::string usableImage(const std::string& given, bool mayBeDirectory)
{
    if (given.empty())
    {
        refuse("''", "is no path; name an image file");
    }
    // Not blocking: a FIFO must not hold the tool up.
    const auto file = open(given.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
    {
        refuse(given, std::string(std::strerror(errno)) +
                          "; name an image file that can be read");
    }
    struct stat status = {};
    const auto isUsable = fstat(file, &status) == 0 &&
                          (S_ISREG(status.st_mode) ||
                           (mayBeDirectory && S_ISDIR(status.st_mode)));
    close(file);
    if (!isUsable)
    {
        refuse(given, "is not a file; name an image file");
    }
    return std::filesystem::absolute(given);
}

static bool isCarried(char c)
{
    constexpr std::string_view others = "/:_.@";
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
           (c >= 'A' && c <= 'Z') || others.find(c) != std::string_view::npos;
}

void requireFaithfulUnit(const std::string& imagePath, const std::string& unit)
{
    if (imagePath.find('-') != std::string::npos)
    {
        refuse(imagePath, "the flash unit would read each \"-\" as \"/\"; "
                          "move the image to a path without \"-\"");
    }
    if (!std::ranges::all_of(imagePath, isCarried))
    {
        refuse(imagePath,
               "a unit name cannot carry this path; move the image to a path "
               "of letters, digits, \"/\", \":\", \"_\", \".\" and \"@\"");
    }
    constexpr std::size_t longestUnitName = 255;
    if (unit.size() > longestUnitName)
    {
        refuse(imagePath,
               "is " + std::to_string(unit.size() - longestUnitName) +
                   " characters too long for a unit name; move the image to a "
                   "shorter path");
    }
}

void requireFaithfulComponent(const std::string& component)
{
    if (component.find('/') != std::string::npos ||
        !std::ranges::all_of(component, isCarried))
    {
        refuse("component " + component,
               "a unit name cannot carry this name; have the CPLD update "
               "manager call it by letters, digits, \":\", \"_\", \".\" and "
               "\"@\"");
    }
}
