// SPDX-License-Identifier: Apache-2.0
#include "unit_instance.hpp"

#include <charconv>

namespace plain
{

std::string unescaped(std::string_view instance)
{
    std::string text;
    for (std::size_t i = 0; i < instance.size(); ++i)
    {
        unsigned char code = 0;
        const auto* const digits = instance.data() + i + 2;
        if (instance.substr(i).starts_with(R"(\x)") &&
            i + 4 <= instance.size() &&
            std::from_chars(digits, digits + 2, code, 16).ptr == digits + 2)
        {
            text += static_cast<char>(code);
            i += 3;
        }
        else
        {
            text += instance[i] == '-' ? '/' : instance[i];
        }
    }
    return text;
}

} // namespace plain
