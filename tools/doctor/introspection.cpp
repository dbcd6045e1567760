// SPDX-License-Identifier: Apache-2.0
#include "introspection.hpp"

#include "../common/patience.hpp"

#include <sdbusplus/message.hpp>
#include <tinyxml2.h>

#include <string_view>

using tinyxml2::XMLElement;

static std::string attribute(const XMLElement& element, const char* name)
{
    const auto* const value = element.Attribute(name);
    return value == nullptr ? "" : value;
}

/** Calls `visit` with each child of that name. */
template <typename Visit>
static void forEach(const XMLElement& parent, const char* name, Visit&& visit)
{
    for (const auto* child = parent.FirstChildElement(name); child != nullptr;
         child = child->NextSiblingElement(name))
    {
        visit(*child);
    }
}

static MethodTypes methodFrom(const XMLElement& element)
{
    MethodTypes types;
    forEach(element, "arg", [&](const auto& argument) {
        // What says no direction goes in.
        auto& list =
            attribute(argument, "direction") == "out" ? types.out : types.in;
        list += attribute(argument, "type");
    });
    return types;
}

static OfferedInterface interfaceFrom(const XMLElement& element)
{
    OfferedInterface offered;
    forEach(element, "method", [&](const auto& method) {
        offered.methods[attribute(method, "name")] = methodFrom(method);
    });
    forEach(element, "property", [&](const auto& property) {
        offered.properties[attribute(property, "name")] = {
            attribute(property, "type"), attribute(property, "access")};
    });
    return offered;
}

std::optional<OfferedInterfaces> introspect(sdbusplus::bus_t& bus,
                                            const std::string& service,
                                            const std::string& path)
{
    auto call = bus.new_method_call(service.c_str(), path.c_str(),
                                    "org.freedesktop.DBus.Introspectable",
                                    "Introspect");
    std::string text;
    bus.call(call, patience).read(text);

    tinyxml2::XMLDocument document;
    if (document.Parse(text.c_str(), text.size()) != tinyxml2::XML_SUCCESS ||
        document.FirstChildElement("node") == nullptr)
    {
        return {};
    }
    OfferedInterfaces offered;
    forEach(*document.FirstChildElement("node"), "interface",
            [&](const auto& element) {
                offered[attribute(element, "name")] = interfaceFrom(element);
            });
    return offered;
}
