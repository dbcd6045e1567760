// SPDX-License-Identifier: Apache-2.0
#include "expected.hpp"

#include "../../tests/support/as_text.hpp"

namespace fuzz
{

using test::asText;

constexpr auto noCallToThere =
    "SdBusError sd_bus_message_new_method_call: "
    "org.freedesktop.DBus.Error.InvalidArgs: Invalid argument";

static bool isPath(const std::string& text)
{
    return sd_bus_object_path_is_valid(text.c_str()) > 0;
}

std::string verdict(std::optional<bool> authentic)
{
    return !authentic ? "-5" : *authentic ? "0" : "-1";
}

std::string verdictOfDevice(PlainReader& reader, const std::string& component)
{
    const auto registry = reader.registry();
    if (!registry)
    {
        return "-5";
    }
    const auto device = registry->find(component);
    if (device == registry->end())
    {
        return "-2";
    }
    return isPath(device->second.path) ? verdict(reader.boolean("verifyCPLD"))
                                       : noCallToThere;
}

std::string imageInfo(PlainReader& reader, const std::string& component)
{
    const auto registry = reader.registry();
    if (!registry)
    {
        return "{}";
    }
    const auto device = registry->find(component);
    if (device == registry->end() || !isPath(device->second.path))
    {
        return noCallToThere;
    }
    return asText(reader.properties("readImageFileInfo")
                      .value_or(wexa::core::PropertyMap{}));
}

std::string components(PlainReader& reader)
{
    wexa::core::CpldComponentMap all;
    for (const auto& [name, device] :
         reader.registry().value_or(PlainReader::Registry{}))
    {
        const auto& [path, properties] = device;
        if (!path.empty() && !isPath(path))
        {
            return "{}";
        }
        const auto version =
            path.empty() ? "" : reader.text("readMBVersionString").value_or("");
        all[name] = {version, properties};
    }
    return asText(all);
}

} // namespace fuzz
