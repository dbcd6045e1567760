// SPDX-License-Identifier: Apache-2.0
#include "iso_time.hpp"

#include <array>
#include <ctime>

std::string isoTime(std::chrono::seconds time)
{
    const std::time_t seconds = time.count();
    std::array<char, 32> text{};
    std::tm local{};
    std::strftime(text.data(), text.size(), "%FT%T%z",
                  localtime_r(&seconds, &local));
    return text.data();
}
