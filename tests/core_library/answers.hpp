// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <core_library.hpp>

#include <array>
#include <cerrno>
#include <string>

namespace test
{

/** What the five routines say of one file. */
struct Answers
{
    std::string bmcVersion;
    int bios;
    std::string biosVersion;
    std::string biosDate;
    /** By kind, from 1 on. */
    std::array<int, 3> capsule;
    std::array<std::string, 3> capsuleVersion;
    int capsuleKind;
    int board;

    bool operator==(const Answers&) const = default;
};

/** Stands in every buffer before a call, to see that a failure keeps it. */
inline const std::string untouched = "untouched";

/** What is said of a file that is no image. */
inline const Answers noImage{"",
                             -EIO,
                             untouched,
                             untouched,
                             {-EIO, -EIO, -EIO},
                             {untouched, untouched, untouched},
                             -EIO,
                             -1};

/** Asks all five; buffers have room for every version and date. */
inline Answers ask(char* path)
{
    using namespace wexa::core;
    using Buffer = std::array<char, 256>;
    const auto fresh = [] {
        Buffer buffer = {};
        untouched.copy(buffer.data(), buffer.size());
        return buffer;
    };

    Answers answers;
    answers.bmcVersion = get_bmc_version_string_from_image(path);
    auto version = fresh();
    auto date = fresh();
    answers.bios = get_bios_version_from_image(
        path, version.data(), version.size(), date.data(), date.size());
    answers.biosVersion = version.data();
    answers.biosDate = date.data();
    for (auto kind = 1; kind <= 3; ++kind)
    {
        const auto index = static_cast<std::size_t>(kind - 1);
        version = fresh();
        answers.capsule.at(index) = get_capsule_version_from_image(
            path, version.data(), version.size(), kind);
        answers.capsuleVersion.at(index) = version.data();
    }
    answers.capsuleKind = check_bios_seamless_capsule(path);
    answers.board = get_bios_board_id(path);
    return answers;
}

inline Answers ask(std::string path)
{
    return ask(path.data());
}

} // namespace test
