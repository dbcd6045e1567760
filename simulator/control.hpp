// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board.hpp"

#include <sdbus-c++/sdbus-c++.h>

#include <memory>

namespace bmcsim
{

/** The simulator's own service, by which its behaviour is changed and asked
 *  for while it runs.
 */
namespace control
{
constexpr auto service = "com.wexa.Simulator";
constexpr auto path = "/com/wexa/Simulator";
constexpr auto interface = "com.wexa.Simulator";
constexpr auto refusal = "com.wexa.Simulator.Error.InvalidSetting";
} // namespace control

class Control
{
  public:
    Control(Board& board, const std::string& busAddress);

    sdbus::IConnection* connection()
    {
        return bus.get();
    }

  private:
    std::unique_ptr<sdbus::IConnection> bus;
    std::unique_ptr<sdbus::IObject> object;
};

} // namespace bmcsim
