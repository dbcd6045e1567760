// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

// How long the library takes to load into a process that already has its
// dependencies, and how large it is without its symbols.

namespace
{

std::string library;

int addName(dl_phdr_info* object, std::size_t, void* names)
{
    static_cast<std::vector<std::string>*>(names)->emplace_back(
        object->dlpi_name);
    return 0;
}

/** Loads what the library needs, to stay. */
void loadDependencies()
{
    void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr)
    {
        throw std::runtime_error(dlerror());
    }
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

void load(benchmark::State& state)
{
    for (const auto _ : state)
    {
        void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr)
        {
            state.SkipWithError(dlerror());
            return;
        }
        state.PauseTiming();
        dlclose(handle);
        state.ResumeTiming();
    }
}

/** Bytes of the library after strip. */
void size(benchmark::State& state)
{
    const auto stripped = std::filesystem::temp_directory_path() /
                          ("bench_loading." + std::to_string(getpid()));
    const auto command =
        "strip --strip-unneeded -o " + stripped.string() + " " + library;
    for (const auto _ : state)
    {
        if (std::system(command.c_str()) != 0)
        {
            state.SkipWithError("strip failed");
            return;
        }
    }
    state.counters["bytes"] =
        static_cast<double>(std::filesystem::file_size(stripped));
    std::filesystem::remove(stripped);
}

BENCHMARK(load)->Name("loading")->Unit(benchmark::kMicrosecond);
BENCHMARK(size)->Name("stripped size")->Iterations(1);

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (argc != 2)
    {
        std::cerr << "usage: bench_loading LIBRARY\n";
        return 2;
    }
    library = argv[1];
    try
    {
        loadDependencies();
    }
    catch (const std::exception& error)
    {
        std::cerr << "bench_loading: " << error.what() << '\n';
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
}
