// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../common/remote_call.hpp"

#include <variant>

/** Reading a property of a remote object, as a remote call in its steps. */
namespace wexa::core
{

/** A call of the standard "Get", ready to be sent.
 *
 *  @throw sdbusplus::exception::SdBusError  it cannot be created
 */
inline auto newGetCall(sdbusplus::bus_t& bus, const char* service,
                       const char* path, const char* interface,
                       const char* property)
{
    auto call =
        newCall(bus, {service, path, "org.freedesktop.DBus.Properties", "Get"});
    call.append(interface, property);
    return call;
}

/** Sends it: the property, or `Value{}` where it is of another type.
 *
 *  @throw RemoteError  the call failed, or its reply is no variant
 */
template <typename Value>
Value propertyFrom(sdbusplus::bus_t& bus, sdbusplus::message_t& call)
{
    return std::get<Value>(callFor<std::variant<Value>>(bus, call));
}

} // namespace wexa::core
