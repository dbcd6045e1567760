// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>
#include <systemd/sd-bus.h>

#include <string>

/** A value that a service told, whatever its type is: for messages about a
 *  value of another type than the one that was expected.
 */
struct ToldValue
{
    /** The D-Bus type; empty where there is no value. */
    std::string type;
    /** The value; empty for a container. */
    std::string text;

    /** The value as messages show it: a string in quotes, and not all of a long
     *  one.
     */
    std::string inWords() const;
};

/** @return such as "of type 's' (\"seven\"), where 'q' is expected" */
std::string anotherTypeInWords(const ToldValue& value,
                               const std::string& expected);

/** Reads the next value; of a variant, what it holds.
 *
 *  @return of no type where there is no further value
 */
ToldValue nextValueOf(sd_bus_message* message);
ToldValue nextValueOf(sdbusplus::message_t& message);

/** Where a property is read. */
struct Place
{
    const char* service;
    const char* path;
    const char* interface;
};

/** Reads a property.
 *
 *  @throw sdbusplus::exception_t  the service does not tell it
 */
ToldValue propertyAt(sdbusplus::bus_t& bus, const Place& place,
                     const char* property);
