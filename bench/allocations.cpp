// SPDX-License-Identifier: Apache-2.0
#include "allocations.hpp"

#include "rounds.hpp"

#include <fmt/format.h>

#include <atomic>
#include <iostream>
#include <sstream>
#include <string>
#include <tuple>

// All allocations of the process come by here, those of the C++ library and
// of GLib's thread too. free() stays the C library's.

static std::atomic<std::size_t> allocations = 0;

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size)
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size)
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}

void* realloc(void* block, std::size_t size)
{
    allocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(block, size);
}
}

namespace bench
{

std::size_t allocationsOf(const std::function<void()>& act)
{
    constexpr auto runs = 11;
    std::vector<double> counts;
    for (auto run = 0; run < runs; ++run)
    {
        const auto before = allocations.load();
        act();
        counts.push_back(static_cast<double>(allocations.load() - before));
    }
    return static_cast<std::size_t>(median(counts));
}

/** What an action prints on both streams. */
static std::string printedBy(const std::function<void()>& act)
{
    const std::ostringstream printed;
    auto* const out = std::cout.rdbuf(printed.rdbuf());
    auto* const err = std::cerr.rdbuf(printed.rdbuf());
    act();
    std::cout.rdbuf(out);
    std::cerr.rdbuf(err);
    return printed.str();
}

std::size_t allocationsOfLog(const std::function<void()>& act)
{
    std::istringstream printed(printedBy(act));
    std::size_t sum = 0;
    for (std::string line; std::getline(printed, line);)
    {
        sum += allocationsOf([&] { std::ignore = fmt::format("{}\n", line); });
    }
    return sum;
}

} // namespace bench
