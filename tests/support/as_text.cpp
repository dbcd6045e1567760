// SPDX-License-Identifier: Apache-2.0
#include "as_text.hpp"

#include <fmt/format.h>

namespace test
{

std::string asText(int result)
{
    return std::to_string(result);
}

std::string asText(bool result)
{
    return result ? "true" : "false";
}

std::string asText(const std::string& result)
{
    return '"' + result + '"';
}

static std::string asText(const wexa::core::PropertyValue& value)
{
    return fmt::format(
        "{} {}", value.index(),
        std::visit(
            [](const auto& content) { return fmt::format("{}", content); },
            value));
}

static std::string asText(const wexa::core::CpldComponentInfo& info)
{
    const auto& [version, properties] = info;
    return asText(version) + ' ' + asText(properties);
}

template <typename Map>
static std::string mapAsText(const Map& map)
{
    std::string text;
    for (const auto& [key, value] : map)
    {
        text += (text.empty() ? "" : ", ") + key + ": " + asText(value);
    }
    return '{' + text + '}';
}

std::string asText(const wexa::core::UploadResult& result)
{
    return mapAsText(result);
}

std::string asText(const wexa::core::PropertyMap& result)
{
    return mapAsText(result);
}

std::string asText(const wexa::core::CpldComponentMap& result)
{
    return mapAsText(result);
}

} // namespace test
