// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "temporary_directory.hpp"

#include <sys/types.h>
#include <systemd/sd-bus.h>

#include <memory>
#include <string>

namespace test
{

struct CloseConnection
{
    void operator()(sd_bus* connection) const
    {
        sd_bus_flush_close_unref(connection);
    }
};

using Connection = std::unique_ptr<sd_bus, CloseConnection>;

/** A real dbus-daemon of the test's own, on which everything is allowed. */
class PrivateBus
{
  public:
    PrivateBus();
    ~PrivateBus();

    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /** A new connection, ready to be used. */
    Connection connect() const;

    /** Ends the daemon; every connection is lost. */
    void kill();

    const std::string& address() const
    {
        return where;
    }

  private:
    TemporaryDirectory directory;
    std::string where;
    pid_t daemon = -1;
};

/** Throws with `what` and the errno text where `result` is negative. */
int check(int result, const char* what);

} // namespace test
