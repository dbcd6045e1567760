// SPDX-License-Identifier: Apache-2.0
#include "components.hpp"

#include "../common/connection.hpp"
#include "../common/cpld_registry.hpp"
#include "../common/dbus_error.hpp"
#include "../common/failure.hpp"
#include "../common/kind.hpp"
#include "../common/verbs.hpp"
#include "library.hpp"
#include "library_log.hpp"

#include <plain.hpp>
#include <sdbusplus/exception.hpp>

#include <algorithm>
#include <array>

using nlohmann::json;
using wexa::core::CpldComponentMap;
using wexa::core::PropertyMap;

constexpr auto notListed = "the CPLD components cannot be listed";
constexpr auto updateManager = ": update the CPLD update manager";

static Failure registryFailure(const std::string& dbusError,
                               const std::string& hint)
{
    return {ExitStatus::callFailed, notListed,
            Reason{"reading the registry of the CPLDs", {}, dbusError, hint}};
}

static cpld::Registry registered(sdbusplus::bus_t& bus)
{
    try
    {
        // As long as the library itself would wait.
        return cpld::readRegistry(bus, sdbusplus::SdBusDuration::zero());
    }
    catch (const cpld::AnotherType& fault)
    {
        throw registryFailure("", fault.what() + std::string(updateManager));
    }
    catch (const sdbusplus::exception_t& error)
    {
        throw registryFailure(error.name(), hintFor(error.name()));
    }
}

/** The first ones, on a line that can be read. */
static std::string namesOf(const cpld::Registry& components)
{
    constexpr std::size_t most = 10;
    std::string names;
    std::size_t count = 0;
    for (const auto& entry : components)
    {
        if (count == most)
        {
            return names + " and " + std::to_string(components.size() - most) +
                   " others, which wexa-fwmgr components lists";
        }
        names += (names.empty() ? "" : ", ") + entry.first;
        ++count;
    }
    return names;
}

/** What is wrong with an object path of the registry, and what to do. */
static std::optional<std::string> faultOfPaths(const cpld::Registry& registry)
{
    for (const auto& [name, record] : registry)
    {
        if (const auto fault = cpld::faultOfPath(name, record))
        {
            return *fault + updateManager;
        }
    }
    return {};
}

void requireComponent(sdbusplus::bus_t& bus, const Request& request)
{
    if (!kindNamed(request.kind).hasComponents)
    {
        return;
    }
    const auto known = registered(bus);
    const auto found = known.find(request.component);
    if (found == known.end())
    {
        throw Failure(
            ExitStatus::wrongUsage,
            "the board has no CPLD component '" + request.component + "'",
            known.empty() ? "no CPLD component is bound: see what the CPLD "
                            "update manager logged"
                          : "name one of these: " + namesOf(known));
    }
    if (const auto fault = faultOfPaths({*found}))
    {
        throw Failure(ExitStatus::callFailed,
                      "CPLD component '" + request.component +
                          "' cannot be called",
                      Reason{"looking the component up", {}, "", *fault});
    }
}

namespace
{

/** The components as the library lists them, and what it does not tell. */
class Listing
{
  public:
    Listing(sdbusplus::bus_t& bus, bool verbose) : log(verbose)
    {
        found = (library().bind(bus).*library().components)();
        if (found.empty() && log.tellsOfAFailedCall())
        {
            throw failure(bus);
        }
        registry = registered(bus);
    }

    json asJson() const
    {
        auto list = json::object();
        for (const auto& [name, info] : found)
        {
            const auto& [version, properties] = info;
            list[name] = {{"version", version},
                          {"version_unknown",
                           version.empty() ? json(whyUnknown(name)) : json()},
                          {"properties", valuesOf(properties)},
                          {"unread", unreadOf(name)}};
        }
        return {{"components", list}};
    }

    std::string asText() const
    {
        std::vector<plain::Row> rows;
        for (const auto& [name, info] : found)
        {
            const auto& [version, properties] = info;
            rows.emplace_back(name, version.empty() ? "version not known: " +
                                                          whyUnknown(name)
                                                    : version);
            addProperties(rows, name, valuesOf(properties));
        }
        return found.empty() ? "no CPLD component is bound\n"
                             : plain::table(rows);
    }

  private:
    Failure failure(sdbusplus::bus_t& bus) const
    {
        auto reason = log.reason();
        // A call cannot be created for a path that is not one.
        if (reason.dbusError == "org.freedesktop.DBus.Error.InvalidArgs")
        {
            reason.hint = faultOfPaths(registered(bus)).value_or(reason.hint);
        }
        return {ExitStatus::callFailed, notListed, std::move(reason)};
    }

    static json valuesOf(const PropertyMap& properties)
    {
        auto values = json::object();
        for (const auto& [name, value] : properties)
        {
            std::visit([&, &name = name](
                           const auto& content) { values[name] = content; },
                       value);
        }
        return values;
    }

    /** The types of the properties that the library does not read: it tells
     *  0 instead.
     */
    json unreadOf(const std::string& component) const
    {
        constexpr std::array read{"i", "x", "u", "t", "s", "b"};
        auto types = json::object();
        for (const auto& [name, value] : recordOf(component).properties)
        {
            if (std::ranges::find(read, value.type) == read.end())
            {
                types[name] = value.type;
            }
        }
        return types;
    }

    void addProperties(std::vector<plain::Row>& rows,
                       const std::string& component, const json& values) const
    {
        const auto unread = unreadOf(component);
        for (const auto& [name, value] : values.items())
        {
            const auto type = unread.find(name);
            rows.emplace_back("  " + name,
                              type != unread.end()
                                  ? "of type " + type->get<std::string>() +
                                        ", which the library does not "
                                        "read: it tells 0"
                              : value.is_string() ? value.get<std::string>()
                                                  : value.dump());
        }
    }

    std::string whyUnknown(const std::string& component) const
    {
        const auto& path = recordOf(component).objectPath;
        if (path.empty())
        {
            return "the registry tells no object path";
        }
        const auto error =
            log.dbusErrorOf(std::string("Error in method call for (") +
                            cpld::service + ", " + path + ", ");
        if (error == "System.Error.ENXIO")
        {
            return "readMBVersionString answers with another type than 's'";
        }
        return error.empty() ? "the device tells an empty version"
                             : "readMBVersionString fails (" + error + ")";
    }

    /** Without a path where the component has gone meanwhile. */
    const cpld::Record& recordOf(const std::string& component) const
    {
        static const cpld::Record gone{};
        const auto record = registry.find(component);
        return record == registry.end() ? gone : record->second;
    }

    LibraryLog log;
    CpldComponentMap found;
    cpld::Registry registry;
};

} // namespace

Result listComponents(const Request& request)
{
    // What is missing here is said before what is missing on the bus.
    library();
    auto bus = connectTo(request.bus);
    const Listing listing(bus, request.verbose);
    return {listing.asJson(), listing.asText()};
}
