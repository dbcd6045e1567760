// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../src/cpld/registry.hpp"

#include <gio/gio.h>
#include <sdbus-c++/sdbus-c++.h>
#include <systemd/sd-bus.h>

/** A registry of CPLDs with eight properties each, made and decoded with
 *  several D-Bus libraries; all decode into the same containers.
 */
namespace bench
{

using wexa::core::CpldDeviceMap;

/** Appends a registry of so many devices (`a{s(ssa{sv})}`). */
void appendRegistry(sd_bus_message* message, int devices);

/** The same, as sdbus-c++ keeps a message's contents outside of a call. */
sdbus::Variant registryOf(int devices);

/** Decodes by hand, as a program in C would. */
CpldDeviceMap decode(sd_bus_message* message);
CpldDeviceMap decode(const sdbus::Variant& registry);
CpldDeviceMap decode(sdbus::MethodReply& reply);
CpldDeviceMap decode(GVariant* registry);

} // namespace bench
