// SPDX-License-Identifier: Apache-2.0
#include "relayed_connection.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <utility>

namespace bmcsim
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/** As many as one message carries. */
constexpr std::size_t mostFiles = 253;

/** So that a reader that has stopped does not fill the memory. */
constexpr std::size_t mostPieces = 64;

using FilesBuffer = std::array<char, CMSG_SPACE(sizeof(int) * mostFiles)>;

static std::vector<int> filesIn(msghdr& message)
{
    std::vector<int> files;
    for (auto* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part))
    {
        if (part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_RIGHTS)
        {
            files.resize((part->cmsg_len - CMSG_LEN(0)) / sizeof(int));
            std::memcpy(files.data(), CMSG_DATA(part),
                        files.size() * sizeof(int));
        }
    }
    return files;
}

static void addFiles(msghdr& message, FilesBuffer& buffer,
                     const std::vector<int>& files)
{
    if (files.empty())
    {
        return;
    }
    message.msg_control = buffer.data();
    message.msg_controllen = CMSG_SPACE(sizeof(int) * files.size());
    auto* const part = CMSG_FIRSTHDR(&message);
    part->cmsg_level = SOL_SOCKET;
    part->cmsg_type = SCM_RIGHTS;
    part->cmsg_len = CMSG_LEN(sizeof(int) * files.size());
    std::memcpy(CMSG_DATA(part), files.data(), files.size() * sizeof(int));
}

static void closeAll(std::vector<int>& files)
{
    for (const auto file : files)
    {
        close(file);
    }
    files.clear();
}

static bool isForLater(int error)
{
    return error == EAGAIN || error == EINTR;
}

RelayedStream::~RelayedStream()
{
    for (auto& piece : pieces)
    {
        closeAll(piece.files);
    }
}

bool RelayedStream::receive()
{
    while (pieces.size() < mostPieces)
    {
        std::array<char, 16384> bytes;
        alignas(cmsghdr) FilesBuffer files;
        iovec part{bytes.data(), bytes.size()};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = files.data();
        message.msg_controllen = files.size();
        const auto size =
            recvmsg(from, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
        if (size <= 0)
        {
            return size < 0 && isForLater(errno);
        }
        keep({bytes.data(), static_cast<std::size_t>(size)}, filesIn(message));
    }
    return true;
}

void RelayedStream::keep(std::string_view bytes, std::vector<int> files)
{
    for (auto& message : cutter.cut(bytes))
    {
        Piece piece{std::move(message.bytes), std::exchange(files, {}),
                    steady_clock::now(), message.isForBus};
        // What goes to the bus overtakes what waits, but not a message that
        // is sent in part already.
        auto place = pieces.end();
        while (piece.isForBus && place != pieces.begin() &&
               !std::prev(place)->isForBus && !std::prev(place)->isBegun)
        {
            --place;
        }
        pieces.insert(place, std::move(piece));
    }
}

bool RelayedStream::sendSome(Piece& piece)
{
    alignas(cmsghdr) FilesBuffer files;
    iovec part{piece.bytes.data(), piece.bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    addFiles(message, files, piece.files);
    const auto size = sendmsg(to, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (size < 0)
    {
        isBroken = !isForLater(errno);
        return false;
    }
    closeAll(piece.files);
    piece.isBegun = true;
    piece.bytes.erase(0, static_cast<std::size_t>(size));
    return true;
}

bool RelayedStream::send(milliseconds late)
{
    const auto now = steady_clock::now();
    while (!pieces.empty() && *due(late) <= now && sendSome(pieces.front()))
    {
        if (pieces.front().bytes.empty())
        {
            pieces.pop_front();
        }
    }
    return !isBroken;
}

std::optional<RelayedStream::Time> RelayedStream::due(milliseconds late) const
{
    if (pieces.empty())
    {
        return std::nullopt;
    }
    const auto& first = pieces.front();
    return first.isForBus || first.isBegun ? first.arrival
                                           : first.arrival + late;
}

short RelayedStream::eventsOfSource() const
{
    return pieces.size() < mostPieces ? POLLIN : 0;
}

short RelayedStream::eventsOfTarget(milliseconds late) const
{
    const auto first = due(late);
    return first && *first <= steady_clock::now() ? POLLOUT : 0;
}

RelayedConnection::RelayedConnection(int manager, int bus) :
    manager(manager), bus(bus)
{}

RelayedConnection::~RelayedConnection()
{
    close(manager);
    close(bus);
}

bool RelayedConnection::serve(milliseconds late)
{
    const auto isOpen = told.receive() && said.receive();
    // Also the last words are passed on.
    return told.send({}) && said.send(late) && isOpen;
}

void RelayedConnection::watch(std::vector<pollfd>& watched,
                              milliseconds late) const
{
    const auto add = [&watched](int socket, int first, int second) {
        const auto events = static_cast<short>(first | second);
        // An end that has closed would always be ready.
        watched.push_back({events == 0 ? -1 : socket, events, 0});
    };
    add(manager, said.eventsOfSource(), told.eventsOfTarget({}));
    add(bus, told.eventsOfSource(), said.eventsOfTarget(late));
}

} // namespace bmcsim
