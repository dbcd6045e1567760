// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "private_bus.hpp"

#include <string>
#include <vector>

namespace test
{

/** Everything that one connection sends over a bus, seen by a monitor. */
class BusTraffic
{
  public:
    /** @param watched  the unique name of the connection */
    BusTraffic(const PrivateBus& bus, std::string watched);

    /** The messages sent since the last time, in order: `callText` of method
     *  calls, any other message by its kind.
     */
    std::vector<std::string> sent();

  private:
    Connection monitor;
    Connection marker;
    std::string watched;
};

} // namespace test
