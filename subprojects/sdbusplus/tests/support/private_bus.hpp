// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>
#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <filesystem>
#include <string>

namespace support
{

/** A dbus-daemon of the test's own, in a temporary folder. */
class PrivateBus
{
  public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    const std::string& address() const
    {
        return socket;
    }

    /** A new connection, which may not be ready yet; the caller's. */
    sd_bus* open() const;

    /** A new connection, closed when the object goes. */
    sdbusplus::bus_t connect() const;

    /** Kills the daemon, waits for its end and removes its folder. */
    void kill();

  private:
    std::filesystem::path folder;
    std::string socket;
    pid_t daemon = -1;
};

} // namespace support
