// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/exception.hpp>

#include <concepts>
#include <string>

namespace support
{

/** Whole text of the SdBusError that action throws. */
template <std::invocable<> Action>
std::string complaintOf(Action action)
{
    try
    {
        action();
    }
    catch (const sdbusplus::exception::SdBusError& error)
    {
        return error.what();
    }
    return "no complaint";
}

// How sd-bus names and describes what the steps return.
inline const std::string badArgument =
    ": org.freedesktop.DBus.Error.InvalidArgs: Invalid argument";
inline const std::string otherType =
    ": System.Error.ENXIO: No such device or address";
inline const std::string notSealed =
    ": org.freedesktop.DBus.Error.AccessDenied: Operation not permitted";
inline const std::string badMessage =
    ": org.freedesktop.DBus.Error.InconsistentMessage: Bad message";
inline const std::string notConnected =
    ": System.Error.ENOTCONN: Transport endpoint is not connected";

} // namespace support
