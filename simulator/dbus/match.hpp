// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "connection.hpp"

#include <functional>

namespace bmcsim::dbus
{

/** Hears the signals of one kind as long as it lives. */
class Match
{
  public:
    /** @param rule  as the bus takes it
     *  @param hear  may throw; the exception is dropped
     */
    Match(const Connection& connection, const std::string& rule,
          std::function<void(Message&)> hear);

  private:
    using Hear = std::function<void(Message&)>;

    struct Unref
    {
        void operator()(sd_bus_slot* slot) const
        {
            sd_bus_slot_unref(slot);
        }
    };

    static int heard(sd_bus_message* signal, void* hear, sd_bus_error* error);

    std::unique_ptr<Hear> hear;
    std::unique_ptr<sd_bus_slot, Unref> slot;
};

} // namespace bmcsim::dbus
