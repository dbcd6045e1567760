// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace bmcsim
{

/** Cuts what a client sends to a bus into messages. */
class MessageCutter
{
  public:
    struct Message
    {
        std::string bytes;
        /** Whether it goes to the bus itself, as the client's part of the
         *  handshake does, too.
         */
        bool isForBus;
    };

    /** @return the messages that are whole with these bytes */
    std::vector<Message> cut(std::string_view bytes);

  private:
    bool isThroughHandshake = false;
    std::string rest;
};

} // namespace bmcsim
