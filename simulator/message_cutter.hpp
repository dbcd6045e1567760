// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace bmcsim
{

/** Cuts what a client sends to a bus into messages. Bytes that cannot be cut
 *  pass as they come, from there on.
 */
class MessageCutter
{
  public:
    enum class Phase
    {
        handshake,
        messages,
        uncut
    };

    struct Message
    {
        std::string bytes;
        /** Whether it goes to the bus itself, as the client's part of the
         *  handshake does, too.
         */
        bool isForBus;
        /** How many files travel with it, at most. */
        std::size_t files;
    };

    explicit MessageCutter(Phase first) : phase(first) {}

    /** @return the messages that are whole with these bytes */
    std::vector<Message> cut(std::string_view bytes);

  private:
    /** The end of the handshake may come in parts: the last bytes that passed
     *  stay in `rest` for the search.
     */
    Message handshake(std::string_view bytes);
    /** Whether one is whole; what cannot be one ends the cutting. */
    bool hasMessage();
    Message next();

    Phase phase;
    std::string rest;
};

} // namespace bmcsim
