// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_directory.hpp"

#include <atomic>
#include <chrono>
#include <list>
#include <thread>

namespace bmcsim
{

class RelayedConnection;

/** Stands between the unit manager and the bus, on a thread of its own.
 *
 *  What the manager is told arrives at once. What it says, answers and signals
 *  alike, can be delayed: this makes a real systemd slow, too.
 */
class BusRelay
{
  public:
    /** Listens at `PrivateDirectory::managerBus`.
     *
     *  @throw std::system_error  it cannot
     */
    explicit BusRelay(const PrivateDirectory& directory);
    ~BusRelay();

    BusRelay(const BusRelay&) = delete;
    BusRelay& operator=(const BusRelay&) = delete;

    /** How late the bus hears what the manager says; holds also for what
     *  waits already. In force when it returns.
     */
    void delay(std::chrono::milliseconds time);

  private:
    void run();
    void serve();
    void accept();
    void wake() const;

    std::filesystem::path bus;
    std::atomic<std::chrono::milliseconds> late{{}};
    std::atomic<bool> isToEnd = false;
    int listener;
    /** Readable when one of the two above has changed. */
    int changed;
    std::list<RelayedConnection> connections;
    std::thread thread;
};

} // namespace bmcsim
