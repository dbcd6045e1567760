// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "message_cutter.hpp"

#include <poll.h>

#include <chrono>
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

    RelayedStream(int from, int to) : from(from), to(to) {}

    ~RelayedStream();

    RelayedStream(const RelayedStream&) = delete;
    RelayedStream& operator=(const RelayedStream&) = delete;

    /** Takes up what has come; false at the end. */
    bool receive();

    /** Passes on what is due; false where it cannot be passed on any more.
     *
     *  @param late  how long all messages wait but those to the bus itself: who
     *               sends one of these waits for the answer, and does nothing
     *               else meanwhile
     */
    bool send(std::chrono::milliseconds late);

    /** When the next is due, if at all. */
    std::optional<Time> due(std::chrono::milliseconds late) const;

    /** What to wait for at either socket. */
    short eventsOfSource() const;
    short eventsOfTarget(std::chrono::milliseconds late) const;

  private:
    struct Piece
    {
        std::string bytes;
        std::vector<int> files;
        Time arrival;
        bool isForBus;
        /** Whether a part of it is sent already. */
        bool isBegun = false;
    };

    /** Cuts bytes into messages, which wait in the order in which they are due.
     */
    void keep(std::string_view bytes, std::vector<int> files);

    /** Sends a piece, or its beginning; false where nothing could be sent. */
    bool sendSome(Piece& piece);

    int from;
    int to;
    MessageCutter cutter;
    std::deque<Piece> pieces;
    bool isBroken = false;
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

    /** Passes on what can be passed on; false when either end has closed. */
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
    RelayedStream told{bus, manager};
    RelayedStream said{manager, bus};
};

} // namespace bmcsim
