// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_directory.hpp"

#include <sys/types.h>

#include <string>

namespace bmcsim
{

/** Whether a bus can be reached at a socket. */
bool listens(const std::filesystem::path& socketPath);

/** Puts the simulated BMC on a bus that runs already: its socket becomes a
 *  symbolic link to that of the bus.
 *
 *  @param address  as D-Bus writes it, such as "unix:path=/tmp/bus"
 *  @throw std::runtime_error  it is another kind of address, or no bus listens
 */
void joinBus(const PrivateDirectory& directory, const std::string& address);

/** The dbus-daemon of the simulated BMC. */
class BusDaemon
{
  public:
    /** Starts it and waits until it listens.
     *
     *  @throw std::runtime_error  it does not come up; with its own words
     */
    explicit BusDaemon(const PrivateDirectory& directory);
    ~BusDaemon();

    BusDaemon(const BusDaemon&) = delete;
    BusDaemon& operator=(const BusDaemon&) = delete;

    /** Ends it at once, as if it had crashed. */
    void stop();

    /** A child was reaped: its number may be another process's from now on. */
    void childEnded(pid_t child);

  private:
    pid_t process = -1;
};

} // namespace bmcsim
