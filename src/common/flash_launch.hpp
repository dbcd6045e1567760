// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>
#include <sdbusplus/message.hpp>

#include <initializer_list>
#include <string>
#include <string_view>

/** Starting a flash: systemd is asked to start an instance of a flash unit
 *  template, and the instance name carries the image path.
 */
namespace wexa::core
{

/** A call of the systemd manager's "StartUnit", without arguments yet.
 *
 *  @throw sdbusplus::exception::SdBusError  it cannot be created
 */
sdbusplus::message_t newStartUnitCall(sdbusplus::bus_t& bus);

/** The name of a flash unit.
 *
 *  @param unitTemplate  up to and including the "@"
 *  @param words         what stands before the path in the instance, such as
 *                       the device and the action
 *  @return the template, the words and the path, each word followed by
 *          systemd's escape of a blank, the path with every "/" turned into
 *          "-" and nothing else escaped, and ".service"
 */
std::string flashUnitName(std::string_view unitTemplate,
                          std::initializer_list<std::string_view> words,
                          std::string imagePath);

/** Sends a "StartUnit" call for `unit`; systemd's reply is not read.
 *
 *  @param device  what the log calls the flashed device
 *  @return 0 accepted; -EIO the call failed (logged)
 */
int startUnit(sdbusplus::bus_t& bus, sdbusplus::message_t& call,
              const std::string& unit, const char* device);

} // namespace wexa::core
