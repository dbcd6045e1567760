// SPDX-License-Identifier: Apache-2.0
#include "outcome.hpp"

#include <type_traits>

namespace fuzz
{

using wexa::core::CpldComponentInfo;
using wexa::core::PropertyValue;

std::string textOf(int result)
{
    return std::to_string(result);
}

std::string textOf(bool result)
{
    return result ? "true" : "false";
}

/** With its length, so that no text looks like two. */
std::string textOf(const std::string& result)
{
    return std::to_string(result.size()) + '"' + result + '"';
}

static std::string textOf(const PropertyValue& property)
{
    const auto content = std::visit(
        [](const auto& value) {
            using Value = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Value, std::string>)
            {
                return textOf(value);
            }
            else
            {
                return std::to_string(value);
            }
        },
        property);
    return std::to_string(property.index()) + ':' + content;
}

static std::string textOf(const CpldComponentInfo& component)
{
    const auto& [version, properties] = component;
    return textOf(version) + ' ' + textOf(properties);
}

template <typename Map>
static std::string entriesOf(const Map& entries)
{
    std::string text = "{";
    for (const auto& [key, value] : entries)
    {
        text += textOf(key) + '=' + textOf(value) + ' ';
    }
    return text + '}';
}

std::string textOf(const wexa::core::PropertyMap& result)
{
    return entriesOf(result);
}

std::string textOf(const wexa::core::UploadResult& result)
{
    return entriesOf(result);
}

std::string textOf(const wexa::core::CpldComponentMap& result)
{
    return entriesOf(result);
}

} // namespace fuzz
