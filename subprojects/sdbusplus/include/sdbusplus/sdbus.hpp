// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of sdbusplus, for a machine that is no BMC.
#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdint>
#include <ratio>

namespace sdbusplus
{

/** A time-out as sd-bus counts it: microseconds without a sign. */
using SdBusDuration = std::chrono::duration<uint64_t, std::micro>;

/** Tag of the sd-bus in use.
 *
 *  The full library calls sd-bus through this type, here nothing does. It
 *  stands in the signatures of SdBusError, so it has to stand here too, and
 *  has the size of a pointer so that programs can be relinked either way.
 */
class SdBusInterface
{
  protected:
    const void* calls = nullptr;
};

/** Tag of the system's own sd-bus, the only one there is. */
class SdBusImpl : public SdBusInterface
{};

[[gnu::visibility("default")]] extern SdBusImpl sdbus_impl;

} // namespace sdbusplus
