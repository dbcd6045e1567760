// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "descriptor.hpp"
#include "message_cutter.hpp"

#include <poll.h>

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace bmcsim
{

/** Messages, and the file descriptors that travel with them, on their way from
 *  one socket to another.
 */
class RelayedStream
{
  public:
    using Time = std::chrono::steady_clock::time_point;

    RelayedStream(int from, int to, MessageCutter::Phase first) :
        from(from), to(to), cutter(first)
    {}

    /** Takes up what has come. */
    void receive();

    /** Passes on what is due, and drops it where the reader is gone.
     *
     *  @param late  how long all messages wait but those to the bus itself: who
     *               sends one of these waits for the answer, and does nothing
     *               else meanwhile
     */
    void send(std::chrono::milliseconds late);

    /** Whether the source has closed and all that it sent has left here. */
    bool isOver() const
    {
        return isAtEnd && pieces.empty();
    }

    /** When the next is due, if at all. */
    std::optional<Time> due(std::chrono::milliseconds late) const;

    /** What to wait for at either socket. */
    short eventsOfSource() const;
    short eventsOfTarget(std::chrono::milliseconds late) const;

  private:
    struct Piece
    {
        std::string bytes;
        std::vector<Descriptor> files;
        Time arrival;
        bool isForBus;
        /** Whether a part of it is sent already. */
        bool isBegun = false;
    };

    /** Cuts bytes into messages, which wait in the order in which they are due.
     */
    void keep(std::string_view bytes);

    std::vector<Descriptor> takeFiles(std::size_t most);

    /** Sends a piece, or its beginning; false where nothing could be sent. */
    bool sendSome(Piece& piece);

    int from;
    int to;
    MessageCutter cutter;
    std::deque<Piece> pieces;
    /** How many bytes the pieces have. */
    std::size_t held = 0;
    /** What came with a message that is not whole yet. */
    std::vector<Descriptor> files;
    bool isAtEnd = false;
};

/** A connection of the unit manager, and the one to the bus that it stands
 *  for. Owns both sockets.
 */
class RelayedConnection
{
  public:
    RelayedConnection(int manager, int bus);
    ~RelayedConnection();

    RelayedConnection(const RelayedConnection&) = delete;
    RelayedConnection& operator=(const RelayedConnection&) = delete;

    /** Passes on what can be passed on; false when an end has closed and all
     *  that it said is passed on.
     */
    bool serve(std::chrono::milliseconds late);

    /** Adds what to wait for. */
    void watch(std::vector<pollfd>& watched,
               std::chrono::milliseconds late) const;

    std::optional<RelayedStream::Time> due(std::chrono::milliseconds late) const
    {
        return said.due(late);
    }

  private:
    int manager;
    int bus;
    /** The bus's part of the handshake has no end that could be seen. */
    RelayedStream told{bus, manager, MessageCutter::Phase::uncut};
    RelayedStream said{manager, bus, MessageCutter::Phase::handshake};
};

} // namespace bmcsim
