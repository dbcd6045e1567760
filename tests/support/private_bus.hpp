// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bus_program.hpp"
#include "temporary_directory.hpp"

#include <systemd/sd-bus.h>

#include <atomic>
#include <functional>
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

/** A new connection to a bus, ready to be used. A monitor's answers no calls:
 *  the bus ends a monitor that speaks.
 */
Connection connectTo(const std::string& address, bool asMonitor = false);

/** A real bus of the test's own: dbus-daemon's, or that of the program
 *  that the variable WEXA_TEST_BUS names. Everything is allowed on it.
 */
class PrivateBus
{
  public:
    PrivateBus();

    Connection connect() const;

    /** A connection that sees all messages on the bus. */
    Connection monitor() const;

    std::string address() const
    {
        return "unix:path=" + directory.file("bus");
    }

    /** Ends the bus; every connection is lost. */
    void kill()
    {
        running = false;
        busProgram->kill();
    }

    bool isRunning() const
    {
        return running;
    }

    /** Has the bus forbid all method calls to a service; to none where its
     *  name is empty.
     */
    void refuse(const std::string& service)
    {
        busProgram->refuse(service);
    }

    const BusProgram& program() const
    {
        return *busProgram;
    }

  private:
    TemporaryDirectory directory;
    std::unique_ptr<BusProgram> busProgram;
    std::atomic<bool> running = true;
};

/** A connection that sees all messages on a bus. */
Connection monitorAt(const std::string& address);

using Message =
    std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>;

/** The next message that a connection receives; throws where none comes for a
 *  minute.
 */
Message nextMessage(sd_bus* connection);

/** Handles what comes over a connection until `isDone`; throws where nothing
 *  comes for 20 s.
 */
void processUntil(sd_bus* connection, const std::function<bool()>& isDone);

/** Throws with `what` and the errno text where `result` is negative. */
int check(int result, const char* what);

} // namespace test
