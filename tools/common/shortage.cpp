// SPDX-License-Identifier: Apache-2.0
#include "shortage.hpp"

#include "descriptor.hpp"

#include <fcntl.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace shortage
{

bool isOne(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOMEM;
}

static std::string hintFor(int error)
{
    switch (error)
    {
        case EMFILE:
            return "allow more open files, such as with ulimit -n 256";
        case ENFILE:
            return "the whole system has too many open files: end programs "
                   "that hold them";
        default:
            return "end other programs, or allow more memory, such as with "
                   "ulimit -v unlimited";
    }
}

Failure failure(const std::string& subject, int error)
{
    return {ExitStatus::unexpected, subject + ": " + std::strerror(error),
            hintFor(error)};
}

/** More than any verb has open at a time. */
static void requireFiles()
{
    constexpr auto enough = 16;
    std::vector<Descriptor> files;
    for (auto i = 0; i < enough; ++i)
    {
        files.emplace_back(open("/", O_PATH | O_CLOEXEC));
        if (!files.back().isOpen() && isOne(errno))
        {
            throw failure("there is no room for " + std::to_string(enough) +
                              " open files",
                          errno);
        }
    }
}

/** More than the libraries and an ordinary answer take. */
static void requireMemory()
{
    constexpr std::size_t enough = 8UL << 20;
    auto* const memory = mmap(nullptr, enough, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED)
    {
        throw failure("there is no room for 8 MiB of memory", errno);
    }
    munmap(memory, enough);
}

void requireNone()
{
    requireFiles();
    requireMemory();
}

} // namespace shortage
