// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/methods.hpp"

#include <sdbusplus/bus.hpp>

#include <map>
#include <optional>
#include <string>

struct PropertyType
{
    std::string type;
    /** As introspection says it: read, write or readwrite. */
    std::string access;
};

/** What an object says that it offers at one of its interfaces. */
struct OfferedInterface
{
    std::map<std::string, MethodTypes> methods;
    std::map<std::string, PropertyType> properties;
};

using OfferedInterfaces = std::map<std::string, OfferedInterface>;

/** Has an object tell what it offers.
 *
 *  @return nothing where it does, but not in a form that can be read
 *  @throw sdbusplus::exception_t  it does not tell
 */
std::optional<OfferedInterfaces> introspect(sdbusplus::bus_t& bus,
                                            const std::string& service,
                                            const std::string& path);
