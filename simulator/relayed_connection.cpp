// SPDX-License-Identifier: Apache-2.0
#include "relayed_connection.hpp"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <utility>

namespace bmcsim
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/** As many as one message carries. */
constexpr std::size_t mostFiles = 253;

/** So that a reader that has stopped does not fill the memory: no more is
 *  received then. A message may be that long by itself.
 */
constexpr std::size_t mostBytes = std::size_t{16} << 20;

using FilesBuffer = std::array<char, CMSG_SPACE(sizeof(int) * mostFiles)>;

static std::vector<Descriptor> filesIn(msghdr& message)
{
    std::vector<Descriptor> files;
    for (auto* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part))
    {
        if (part->cmsg_level != SOL_SOCKET || part->cmsg_type != SCM_RIGHTS)
        {
            continue;
        }
        std::vector<int> numbers((part->cmsg_len - CMSG_LEN(0)) / sizeof(int));
        std::memcpy(numbers.data(), CMSG_DATA(part),
                    numbers.size() * sizeof(int));
        for (const auto number : numbers)
        {
            files.emplace_back(number);
        }
    }
    return files;
}

static void addFiles(msghdr& message, FilesBuffer& buffer,
                     const std::vector<Descriptor>& files)
{
    if (files.empty())
    {
        return;
    }
    std::vector<int> numbers;
    std::ranges::transform(files, std::back_inserter(numbers),
                           &Descriptor::get);
    message.msg_control = buffer.data();
    message.msg_controllen = CMSG_SPACE(sizeof(int) * numbers.size());
    auto* const part = CMSG_FIRSTHDR(&message);
    part->cmsg_level = SOL_SOCKET;
    part->cmsg_type = SCM_RIGHTS;
    part->cmsg_len = CMSG_LEN(sizeof(int) * numbers.size());
    std::memcpy(CMSG_DATA(part), numbers.data(), numbers.size() * sizeof(int));
}

static bool isForLater(int error)
{
    return error == EAGAIN || error == EINTR;
}

void RelayedStream::receive()
{
    while (!isAtEnd && held < mostBytes)
    {
        std::array<char, 16384> bytes;
        alignas(cmsghdr) FilesBuffer control;
        iovec part{bytes.data(), bytes.size()};
        msghdr message{};
        message.msg_iov = &part;
        message.msg_iovlen = 1;
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        const auto size =
            recvmsg(from, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
        if (size <= 0)
        {
            isAtEnd = size == 0 || !isForLater(errno);
            return;
        }
        std::ranges::move(filesIn(message), std::back_inserter(files));
        keep({bytes.data(), static_cast<std::size_t>(size)});
    }
}

std::vector<Descriptor> RelayedStream::takeFiles(std::size_t most)
{
    const auto end =
        files.begin() +
        static_cast<std::ptrdiff_t>(std::min({most, files.size(), mostFiles}));
    std::vector<Descriptor> taken;
    std::move(files.begin(), end, std::back_inserter(taken));
    files.erase(files.begin(), end);
    return taken;
}

void RelayedStream::keep(std::string_view bytes)
{
    for (auto& message : cutter.cut(bytes))
    {
        Piece piece{std::move(message.bytes), takeFiles(message.files),
                    steady_clock::now(), message.isForBus};
        // What goes to the bus overtakes what waits, but not a message that
        // is sent in part already.
        auto place = pieces.end();
        while (piece.isForBus && place != pieces.begin() &&
               !std::prev(place)->isForBus && !std::prev(place)->isBegun)
        {
            --place;
        }
        held += piece.bytes.size();
        pieces.insert(place, std::move(piece));
    }
    // One message is not whole at most; more files belong to none.
    isAtEnd = isAtEnd || files.size() > mostFiles;
}

bool RelayedStream::sendSome(Piece& piece)
{
    alignas(cmsghdr) FilesBuffer control;
    iovec part{piece.bytes.data(), piece.bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    addFiles(message, control, piece.files);
    const auto size = sendmsg(to, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (size < 0)
    {
        if (!isForLater(errno))
        {
            // There is no reader any more.
            pieces.clear();
            held = 0;
        }
        return false;
    }
    piece.files.clear();
    piece.isBegun = true;
    piece.bytes.erase(0, static_cast<std::size_t>(size));
    held -= static_cast<std::size_t>(size);
    return true;
}

void RelayedStream::send(milliseconds late)
{
    const auto now = steady_clock::now();
    for (auto first = due(late);
         first && *first <= now && sendSome(pieces.front()); first = due(late))
    {
        if (pieces.front().bytes.empty())
        {
            pieces.pop_front();
        }
    }
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
    return !isAtEnd && held < mostBytes ? POLLIN : 0;
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
    told.receive();
    said.receive();
    told.send({});
    said.send(late);
    return !told.isOver() && !said.isOver();
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
