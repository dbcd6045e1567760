// SPDX-License-Identifier: Apache-2.0
#include "../../tools/common/failure.hpp"
#include "../../tools/doctor/library_use.hpp"
#include "../support/bytes.hpp"
#include "../support/process.hpp"
#include "../support/temporary_directory.hpp"

#include <elf.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

// What a program uses of a library, read from files that may say anything.

using namespace test;

namespace
{

class LibraryUseOf : public testing::Test
{
  protected:
    LibraryUseOf()
    {
        // Small: thousands of variants of it are read.
        build({"-shared"},
              symbol("wantedOne") + symbol("wantedTwo") + symbol("another"));
    }

    static std::string symbol(const std::string& name)
    {
        return ".dc.a " + name + "\n";
    }

    /** Builds the program of data that refers to symbols. */
    void build(const std::vector<std::string>& arguments,
               const std::string& data) const
    {
        writeBytes(folder.file("source.s"),
                   ".globl _start\n.data\n_start:\n" + data);
        std::vector<std::string> command{
            "c++", "-nostdlib", "-Wl,-soname,libused.so.1", "-o", program};
        command.insert(command.end(), arguments.begin(), arguments.end());
        command.push_back(folder.file("source.s"));
        const auto built = run(command);
        ASSERT_EQ(built.status, 0) << built.err;
    }

    /** What it uses, in words, or why that cannot be read. */
    std::string use(const std::string& path) const
    {
        try
        {
            const auto read =
                readLibraryUse(path, "libused.so.1", [](auto name) {
                    return name.starts_with("wanted");
                });
            std::string text = read.isLinked ? "linked:" : "not linked:";
            for (const auto& name : read.symbols)
            {
                text += " " + name;
            }
            return text;
        }
        catch (const Failure& failure)
        {
            EXPECT_EQ(failure.status, ExitStatus::notReady);
            const std::string what = failure.what();
            EXPECT_EQ(what.substr(0, path.size() + 1), path + " ");
            return what.substr(path.size() + 1) + "; " + failure.reason.hint;
        }
    }

    std::string useOf(const std::string& bytes) const
    {
        writeBytes(program, bytes);
        return use(program);
    }

    TemporaryDirectory folder;
    std::string program = folder.file("program");
};

constexpr auto damaged = "is cut off or damaged; install the daemon again";
constexpr auto notElf =
    "is not an ELF file; name the program itself, not a script";
constexpr auto otherMachine =
    "is built for another machine; name a program that runs on this board";

TEST_F(LibraryUseOf, AProgramIsWhatItIsLinkedWithAndWhatItDoesNotDefine)
{
    EXPECT_EQ(use(program), "not linked: wantedOne wantedTwo");
    const auto used = folder.file("libused.so.1");
    std::filesystem::rename(program, used);
    build({"-pie", "-Wl,--no-as-needed,--unresolved-symbols=ignore-all", used},
          symbol("wantedOne"));
    EXPECT_EQ(use(program), "linked: wantedOne");
}

TEST_F(LibraryUseOf, AStaticProgramIsRefused)
{
    build({"-static"}, ".byte 0\n");
    EXPECT_EQ(use(program),
              "has no dynamic section: it is linked statically, or stripped "
              "of its sections; name a program that is linked dynamically");
}

TEST_F(LibraryUseOf, WhatCannotBeReadIsRefused)
{
    const auto pipe = folder.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    constexpr auto notAFile = "is not a file; name the daemon's program";
    EXPECT_EQ(use(pipe), notAFile);
    EXPECT_EQ(use(folder.path()), notAFile);
    EXPECT_EQ(use(folder.file("none")),
              "cannot be read: No such file or directory; name a program that "
              "can be read");
    // The kernel gives memory of a process only where it has some.
    EXPECT_EQ(use("/proc/self/mem"), notElf);
}

TEST_F(LibraryUseOf, AnotherFileIsRefused)
{
    EXPECT_EQ(useOf(""), notElf);
    EXPECT_EQ(useOf("#!/bin/sh\nexec daemon\n"), notElf);
}

TEST_F(LibraryUseOf, AProgramOfAnotherMachineIsRefused)
{
    const auto bytes = bytesOf(program);
    for (const auto place : {std::size_t{EI_CLASS}, std::size_t{EI_DATA},
                             offsetof(Elf64_Ehdr, e_machine)})
    {
        auto other = bytes;
        other[place] = static_cast<char>(other[place] ^ 3);
        EXPECT_EQ(useOf(other), otherMachine) << place;
    }
}

TEST_F(LibraryUseOf, AProgramThatIsCutOffIsRefused)
{
    const auto bytes = bytesOf(program);
    for (std::size_t length = bytes.size() - 1; length >= SELFMAG; --length)
    {
        std::filesystem::resize_file(program, length);
        ASSERT_EQ(use(program), damaged) << length;
    }
}

TEST_F(LibraryUseOf, ADamagedProgramIsReadOrRefused)
{
    const auto bytes = bytesOf(program);
    std::fstream file(program, std::ios::in | std::ios::out | std::ios::binary);
    const auto put = [&](std::size_t place, char byte) {
        file.seekp(static_cast<std::streamoff>(place)).put(byte).flush();
        ASSERT_TRUE(file);
    };
    std::size_t refused = 0;
    for (std::size_t place = 0; place < bytes.size(); ++place)
    {
        for (const auto byte : {'\xff', '\x7f'})
        {
            put(place, byte);
            refused += use(program).ends_with("again") ? 1 : 0;
        }
        put(place, bytes[place]);
    }
    EXPECT_GT(refused, 0);
    EXPECT_EQ(use(program), "not linked: wantedOne wantedTwo");
}

TEST_F(LibraryUseOf, MoreSymbolsThanAnyLibraryHasAreRefused)
{
    std::string data;
    for (auto number = 0; number < 1000; ++number)
    {
        data += symbol("wanted" + std::to_string(number));
    }
    build({"-shared"}, data);
    EXPECT_TRUE(use(program).starts_with("not linked: wanted"));
    build({"-shared"}, data + symbol("wantedToo"));
    EXPECT_EQ(use(program), damaged);
}

TEST_F(LibraryUseOf, ALongNameIsReadAsItsBeginning)
{
    build({"-shared"}, symbol("wanted" + std::string(5000, 'x')));
    EXPECT_EQ(use(program), "not linked: wanted" + std::string(4090, 'x'));
}

} // namespace
