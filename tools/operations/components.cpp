// SPDX-License-Identifier: Apache-2.0
#include "components.hpp"

#include "../common/connection.hpp"
#include "../common/failure.hpp"
#include "firmware_kind.hpp"
#include "library_log.hpp"
#include "verbs.hpp"

#include <plain.hpp>

using nlohmann::json;
using wexa::core::CpldComponentMap;
using wexa::core::PropertyMap;

static CpldComponentMap components(sdbusplus::bus::bus& bus, bool verbose)
{
    const LibraryLog log(verbose);
    auto found = FirmwareKind::Manager(bus).getAvailableCpldCompsInfo();
    if (found.empty() && log.tellsOfAFailedCall())
    {
        throw Failure(ExitStatus::callFailed,
                      "the CPLD components cannot be listed", log.reason());
    }
    return found;
}

static std::string namesOf(const CpldComponentMap& components)
{
    std::string names;
    for (const auto& entry : components)
    {
        names += (names.empty() ? "" : ", ") + entry.first;
    }
    return names.empty() ? "none" : names;
}

void requireComponent(sdbusplus::bus::bus& bus, const Request& request)
{
    if (!firmwareKindNamed(request.kind).hasComponents())
    {
        return;
    }
    const auto known = components(bus, request.verbose);
    if (!known.contains(request.component))
    {
        throw Failure(ExitStatus::wrongUsage,
                      "there is no CPLD component '" + request.component + "'",
                      "name one of those that there are: " + namesOf(known));
    }
}

static json asJson(const PropertyMap& properties)
{
    auto object = json::object();
    for (const auto& [name, value] : properties)
    {
        std::visit(
            [&, &name = name](const auto& content) { object[name] = content; },
            value);
    }
    return object;
}

static std::string asTable(const CpldComponentMap& components)
{
    std::vector<plain::Row> rows;
    for (const auto& [name, info] : components)
    {
        const auto& [version, properties] = info;
        rows.emplace_back(name,
                          version.empty() ? "version not known" : version);
        const auto values = asJson(properties);
        for (const auto& [property, value] : values.items())
        {
            rows.emplace_back("  " + property, value.is_string()
                                                   ? value.get<std::string>()
                                                   : value.dump());
        }
    }
    return plain::table(rows);
}

Result listComponents(const Request& request)
{
    auto bus = connectTo(request.bus);
    const auto found = components(bus, request.verbose);
    auto list = json::object();
    for (const auto& [name, info] : found)
    {
        const auto& [version, properties] = info;
        list[name] = {{"version", version}, {"properties", asJson(properties)}};
    }
    return {{{"components", list}},
            found.empty() ? "no CPLD component is bound\n" : asTable(found)};
}
