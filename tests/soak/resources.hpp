// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/core.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>
#include <filesystem>
#include <string>

namespace test
{

/** What this process holds. */
struct Resources
{
    /** Bytes on the heap that are in use, or kept for the next use, which
     *  scripts/soak turns off.
     */
    std::size_t heap = heapInUse();
    std::size_t descriptors = count("/proc/self/fd");
    std::size_t threads = count("/proc/self/task");

  private:
    /** Large blocks are mapped, and counted apart. */
    static std::size_t heapInUse()
    {
        const auto heap = mallinfo2();
        return heap.uordblks + heap.hblkhd;
    }

    static std::size_t count(const char* directory)
    {
        const std::filesystem::directory_iterator entries(directory);
        return static_cast<std::size_t>(
            std::distance(begin(entries), end(entries)));
    }
};

/** Expects that what is held has not grown, and reports the figures. */
inline void expectFlat(const std::string& what, const Resources& before,
                       const Resources& after)
{
    // Not through the streams, which tests record.
    fmt::print("{}; heap {} -> {} bytes, descriptors {} -> {}, threads {} -> "
               "{}\n",
               what, before.heap, after.heap, before.descriptors,
               after.descriptors, before.threads, after.threads);
    // Buffers of sd-bus breathe.
    constexpr std::size_t breath = 16 * 1024;
    EXPECT_LE(after.heap, before.heap + breath);
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_EQ(after.threads, before.threads);
}

} // namespace test
