// SPDX-License-Identifier: Apache-2.0
#include "one_cpu.hpp"
#include "rounds.hpp"

#include <dlfcn.h>
#include <fmt/format.h>
#include <link.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

// What loading the library costs a process that already has what it depends
// on, beside a library of nothing: time, and memory of the process's own.

namespace
{

void* load(const std::string& library)
{
    void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr)
    {
        throw std::runtime_error(dlerror());
    }
    return handle;
}

int addName(dl_phdr_info* object, std::size_t, void* names)
{
    static_cast<std::vector<std::string>*>(names)->emplace_back(
        object->dlpi_name);
    return 0;
}

/** Loads what the library needs, to stay. */
void loadDependencies(const std::string& library)
{
    void* handle = load(library);
    std::vector<std::string> loaded;
    dl_iterate_phdr(addName, &loaded);
    for (const auto& object : loaded)
    {
        if (object != library)
        {
            dlopen(object.c_str(), RTLD_NOW | RTLD_LOCAL);
        }
    }
    dlclose(handle);
}

/** Medians in microseconds, and their ratio to the first library's. */
std::vector<bench::Duration>
durationsOf(const std::vector<std::string>& libraries)
{
    // Unloading is not timed: each turn leaves its handle to the next.
    void* handle = nullptr;
    std::vector<bench::Side> sides;
    for (const auto& library : libraries)
    {
        sides.push_back(
            {[&] { handle = load(library); }, 1, [&] { dlclose(handle); }});
    }
    return bench::takeTurns(sides, {20, 50});
}

/** Kilobytes of memory that only this process has, written to. */
long privateMemory()
{
    std::ifstream sums("/proc/self/smaps_rollup");
    const std::string key = "Private_Dirty:";
    for (std::string line; std::getline(sums, line);)
    {
        if (line.starts_with(key))
        {
            return std::stol(line.substr(key.size()));
        }
    }
    throw std::runtime_error("/proc/self/smaps_rollup");
}

/** Kilobytes that loading a library adds. */
long memoryOf(const std::string& library)
{
    privateMemory(); // has its own memory from now on
    const auto before = privateMemory();
    void* handle = load(library);
    const auto after = privateMemory();
    dlclose(handle);
    return after - before;
}

} // namespace

int main(int argc, char** argv)
try
{
    if (argc != 3)
    {
        fmt::print(stderr, "usage: bench_loading LIBRARY EMPTY\n");
        return 2;
    }
    const std::string library = argv[1];
    const std::string empty = argv[2];
    bench::pinToOneCpu();
    loadDependencies(library);
    const auto memory = memoryOf(library);
    const auto memoryOfEmpty = memoryOf(empty);
    const auto took = durationsOf({empty, library});

    fmt::print("{:33}{:9.0f} us, {:.2f} of an empty library's {:.0f} us\n",
               "loading", took[1].microseconds, took[1].ratio,
               took[0].microseconds);
    fmt::print("{:33}{:9} kB, an empty library's {} kB\n",
               "private memory when loaded", memory, memoryOfEmpty);
}

catch (const std::exception& error)
{
    fmt::print(stderr, "bench_loading: {}\n", error.what());
    return 1;
}
