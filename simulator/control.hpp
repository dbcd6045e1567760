// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board.hpp"
#include "dbus/object.hpp"

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

    dbus::Connection& connection()
    {
        return bus;
    }

  private:
    dbus::Connection bus;
    dbus::Offer object;
};

} // namespace bmcsim
