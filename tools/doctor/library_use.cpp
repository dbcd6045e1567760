// SPDX-License-Identifier: Apache-2.0
#include "library_use.hpp"

#include "../common/descriptor.hpp"
#include "../common/failure.hpp"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

// The file may say anything. Each place and size that it tells is compared with
// the size of the file, and bounded, before it is used.

/** The beginning of the tool itself: what this machine runs. */
// NOLINTNEXTLINE(bugprone-reserved-identifier): the linker defines it.
extern "C" [[gnu::visibility("hidden")]] const ElfW(Ehdr) __ehdr_start;

namespace
{

// Far more than the tables of a program take.
constexpr std::uint64_t largestTable = 16U << 20U;
constexpr std::size_t longestName = 4096;
constexpr std::size_t mostSymbols = 1000;

class File
{
  public:
    explicit File(const std::string& path) :
        path(path),
        // A pipe would wait for its other end.
        file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY))
    {
        struct stat status{};
        if (!file.isOpen() || fstat(file.number(), &status) < 0)
        {
            throw unreadable();
        }
        if (!S_ISREG(status.st_mode))
        {
            throw failure("is not a file", "name the daemon's program");
        }
        bytes = static_cast<std::uint64_t>(status.st_size);
    }

    std::uint64_t size() const
    {
        return bytes;
    }

    /** The entries of a table. */
    template <typename Entry>
    std::vector<Entry> table(std::uint64_t offset, std::uint64_t length) const
    {
        if (offset > bytes || length > bytes - offset || length > largestTable)
        {
            throw damaged();
        }
        std::vector<Entry> entries(length / sizeof(Entry));
        const auto wanted = entries.size() * sizeof(Entry);
        const auto got = pread(file.number(), entries.data(), wanted,
                               static_cast<off_t>(offset));
        if (got < 0)
        {
            throw unreadable();
        }
        if (static_cast<std::size_t>(got) != wanted) // cut off meanwhile
        {
            throw damaged();
        }
        return entries;
    }

    Failure unreadable() const
    {
        return failure(std::string("cannot be read: ") + std::strerror(errno),
                       "name a program that can be read");
    }

    Failure damaged() const
    {
        return failure("is cut off or damaged", "install the daemon again");
    }

    Failure failure(const std::string& what, const std::string& hint) const
    {
        return {ExitStatus::notReady, path + " " + what, hint};
    }

  private:
    std::string path;
    Descriptor file;
    std::uint64_t bytes = 0;
};

/** The beginning of a program, if it is one and this machine runs it. */
ElfW(Ehdr) headerOf(const File& file)
{
    const auto magic =
        file.table<char>(0, std::min<std::uint64_t>(file.size(), SELFMAG));
    if (!std::ranges::equal(magic, std::string_view(ELFMAG)))
    {
        throw file.failure("is not an ELF file",
                           "name the program itself, not a script");
    }
    const auto header = file.table<ElfW(Ehdr)>(0, sizeof(ElfW(Ehdr))).front();
    if (header.e_machine != __ehdr_start.e_machine ||
        header.e_ident[EI_CLASS] != __ehdr_start.e_ident[EI_CLASS] ||
        header.e_ident[EI_DATA] != __ehdr_start.e_ident[EI_DATA])
    {
        throw file.failure("is built for another machine",
                           "name a program that runs on this board");
    }
    return header;
}

class Sections
{
  public:
    explicit Sections(const File& file) : file(file)
    {
        const auto header = headerOf(file);
        if (header.e_shentsize != sizeof(ElfW(Shdr)))
        {
            throw file.damaged();
        }
        all = file.table<ElfW(Shdr)>(
            header.e_shoff, std::uint64_t{header.e_shnum} * sizeof(ElfW(Shdr)));
    }

    /** Calls a function with each entry of the section of a type, and with the
     *  names that the entries tell the places of.
     */
    template <typename Entry, typename Function>
    void forEach(std::uint32_t type, Function function) const
    {
        const auto section = std::ranges::find(all, type, &ElfW(Shdr)::sh_type);
        if (section == all.end())
        {
            throw file.failure("has no dynamic section: it is linked "
                               "statically, or stripped of its sections",
                               "name a program that is linked dynamically");
        }
        if (section->sh_link >= all.size())
        {
            throw file.damaged();
        }
        const auto& strings = all[section->sh_link];
        const auto names = file.table<char>(strings.sh_offset, strings.sh_size);
        for (const auto& entry :
             file.table<Entry>(section->sh_offset, section->sh_size))
        {
            function(entry, names);
        }
    }

  private:
    const File& file;
    std::vector<ElfW(Shdr)> all;
};

} // namespace

LibraryUse readLibraryUse(const std::string& program, std::string_view soname,
                          bool (*isOfLibrary)(std::string_view symbol))
{
    const File file(program);
    const Sections sections(file);
    /** Of a longer name its beginning. */
    const auto nameAt = [&](const std::vector<char>& names, std::size_t place) {
        if (place >= names.size())
        {
            throw file.damaged();
        }
        const auto* const begin = names.data() + place;
        const auto most = std::min(names.size() - place, longestName);
        return std::string_view(begin, strnlen(begin, most));
    };

    LibraryUse use;
    sections.forEach<ElfW(Dyn)>(
        SHT_DYNAMIC, [&](const ElfW(Dyn) & entry, const auto& names) {
            use.isLinked =
                use.isLinked || (entry.d_tag == DT_NEEDED &&
                                 nameAt(names, entry.d_un.d_val) == soname);
        });
    sections.forEach<ElfW(Sym)>(
        SHT_DYNSYM, [&](const ElfW(Sym) & symbol, const auto& names) {
            if (symbol.st_shndx != SHN_UNDEF)
            {
                return;
            }
            const auto name = nameAt(names, symbol.st_name);
            if (!isOfLibrary(name))
            {
                return;
            }
            if (use.symbols.size() == mostSymbols)
            {
                throw file.damaged();
            }
            use.symbols.emplace_back(name);
        });
    return use;
}
