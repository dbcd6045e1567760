// SPDX-License-Identifier: Apache-2.0
#include "whole_file.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace wholeFile
{

[[noreturn]] static void fail(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

std::string read(const std::string& path, std::uint64_t limit)
{
    struct stat status = {};
    if (stat(path.c_str(), &status) < 0)
    {
        fail("cannot read " + path);
    }
    if (!S_ISREG(status.st_mode))
    {
        throw std::runtime_error(path + " is not a file");
    }
    if (static_cast<std::uint64_t>(status.st_size) > limit)
    {
        throw std::runtime_error(path + " is larger than " +
                                 std::to_string(limit) + " bytes");
    }
    const std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    if (!file || (status.st_size != 0 && !(bytes << file.rdbuf())))
    {
        fail("cannot read " + path);
    }
    return bytes.str();
}

/** A new file beside its destination, removed unless it took its place. */
class Temporary
{
  public:
    explicit Temporary(const std::string& destination) :
        path(destination + ".XXXXXX"),
        descriptor(mkostemp(path.data(), O_CLOEXEC))
    {
        if (descriptor < 0)
        {
            fail("cannot write " + destination);
        }
    }

    ~Temporary()
    {
        close(descriptor);
        unlink(path.c_str());
    }

    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    bool fill(const std::string& bytes) const
    {
        std::size_t written = 0;
        while (written < bytes.size())
        {
            const auto size = ::write(descriptor, bytes.data() + written,
                                      bytes.size() - written);
            if (size < 0)
            {
                return false;
            }
            written += static_cast<std::size_t>(size);
        }
        return fchmod(descriptor, 0644) == 0 && fsync(descriptor) == 0;
    }

    bool takePlaceOf(const std::string& destination, bool replace) const
    {
        return replace ? rename(path.c_str(), destination.c_str()) == 0
                       : link(path.c_str(), destination.c_str()) == 0;
    }

  private:
    std::string path;
    int descriptor;
};

void write(const std::string& path, const std::string& bytes, bool replace)
{
    if (std::filesystem::is_directory(path))
    {
        throw std::runtime_error(path + " is a directory; name a file");
    }
    const auto folder = std::filesystem::absolute(path).parent_path();
    if (!std::filesystem::exists(folder))
    {
        throw std::runtime_error("there is no directory " + folder.string() +
                                 "; make it with mkdir -p");
    }
    const Temporary file(path);
    if (!file.fill(bytes) || !file.takePlaceOf(path, replace))
    {
        fail("cannot write " + path);
    }
}

} // namespace wholeFile
