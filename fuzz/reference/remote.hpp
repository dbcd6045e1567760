// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/outcome.hpp"

#include <systemd/sd-bus.h>

#include <map>
#include <memory>
#include <string>

/** Calls and replies in plain sd-bus. What fails is thrown as a `Failure`,
 *  which names the step as sdbusplus does: these names are in the log.
 */
namespace fuzz
{

using Message =
    std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

/** @throw Failure  `result` is negative */
void step(int result, const char* name);

/** A method call with arguments, all of them strings. */
template <typename... Arguments>
Message newCall(sd_bus* bus, const char* service, const std::string& path,
                const char* interface, const char* member,
                const Arguments&... arguments)
{
    sd_bus_message* made = nullptr;
    step(sd_bus_message_new_method_call(bus, &made, service, path.c_str(),
                                        interface, member),
         "sd_bus_message_new_method_call");
    (sd_bus_message_append_basic(made, 's', arguments.c_str()), ...);
    return {made, sd_bus_message_unref};
}

/** The reply. */
Message call(sd_bus* bus, const Message& call);

/** The next value of a message. */
bool readBool(sd_bus_message* message);
std::string readText(sd_bus_message* message, char type = 's');
std::uint32_t readNumber(sd_bus_message* message);
wexa::core::PropertyMap readProperties(sd_bus_message* message);

/** The next value, a variant's: 0, or empty, where it has another type. */
std::uint16_t readShortInside(sd_bus_message* message);
std::string readTextInside(sd_bus_message* message);

struct Device
{
    std::string path;
    std::string driver;
    wexa::core::PropertyMap properties;
};

std::map<std::string, Device> readRegistry(sd_bus_message* message);

} // namespace fuzz
