// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_bus.hpp"

#include <cstdint>
#include <string>

namespace test
{

/** Sees the method calls on a bus while it exists, so that a test can act
 *  when one is made, or answered.
 */
class CallGate
{
  public:
    /** @param address  of the bus */
    explicit CallGate(const std::string& address) : monitor(monitorAt(address))
    {}

    /** Waits until a method of this name is called. */
    void awaitCall(const std::string& member);

    /** Waits until that call is answered. */
    void awaitAnswer();

  private:
    Connection monitor;
    std::string caller;
    std::uint64_t call = 0;
};

} // namespace test
