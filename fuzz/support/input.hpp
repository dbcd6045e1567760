// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace fuzz
{

/** The bytes of one execution, turned into decisions front to back. After the
 *  last byte it yields zeros, which end what is built from it.
 */
class Input
{
  public:
    explicit Input(std::string_view bytes) : bytes(bytes) {}

    bool usedUp() const
    {
        return bytes.empty();
    }

    /** Raw memory of an integer or a floating-point number. */
    template <typename Number>
    Number number()
    {
        Number value{};
        const auto taken = take(sizeof(value));
        std::memcpy(&value, taken.data(), taken.size());
        return value;
    }

    /** 0 to `bound` - 1, `bound` being 256 at most. */
    std::size_t below(std::size_t bound)
    {
        return number<std::uint8_t>() % bound;
    }

    bool flag()
    {
        return below(2) != 0;
    }

    template <typename Choices>
    const auto& pick(const Choices& choices)
    {
        return choices[below(std::size(choices))];
    }

    /** As they come, `most` at most. */
    std::string anyBytes(std::size_t most = 255)
    {
        return std::string(take(below(most + 1)));
    }

    /** All that is left. */
    std::string rest()
    {
        return std::string(take(bytes.size()));
    }

    /** UTF-8 without NUL: a word that means something to the library or its
     *  platform, or a few characters.
     */
    std::string text();

    /** As `text`, of bytes that need not be UTF-8. */
    std::string anyText();

    /** A valid D-Bus object path. */
    std::string objectPath();

  private:
    std::string_view take(std::size_t size)
    {
        const auto taken = bytes.substr(0, size);
        bytes.remove_prefix(taken.size());
        return taken;
    }

    std::string_view bytes;
};

} // namespace fuzz
