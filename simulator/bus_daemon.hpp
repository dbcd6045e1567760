// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_directory.hpp"

#include <sys/types.h>

namespace bmcsim
{

/** Whether a bus can be reached at a socket. */
bool listens(const std::filesystem::path& socketPath);

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

  private:
    pid_t process = -1;
};

} // namespace bmcsim
