// SPDX-License-Identifier: Apache-2.0
#include "bus_relay.hpp"

#include "child.hpp"
#include "patience.hpp"
#include "relayed_connection.hpp"
#include "unix_socket.hpp"

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <system_error>

namespace bmcsim
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;

static std::thread started(std::function<void()> work)
try
{
    return std::thread(std::move(work));
}

catch (const std::system_error& error)
{
    throw std::system_error(error.code(), "cannot start a thread");
}

BusRelay::BusRelay(const PrivateDirectory& directory) :
    bus(directory.busSocket()), listener(listenAt(directory.managerBus())),
    changed(checked(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
    thread(started([this] { run(); }))
{}

BusRelay::~BusRelay()
{
    isToEnd = true;
    wake();
    thread.join();
    close(listener);
    close(changed);
}

void BusRelay::delay(milliseconds time)
{
    late = time;
    wake();
}

void BusRelay::wake() const
{
    eventfd_write(changed, 1);
}

void BusRelay::run()
{
    while (!isToEnd)
    {
        serve();
        std::vector<pollfd> watched{{changed, POLLIN, 0},
                                    {listener, POLLIN, 0}};
        std::optional<steady_clock::time_point> next;
        for (const auto& connection : connections)
        {
            connection.watch(watched, late);
            const auto due = connection.due(late);
            next = due ? std::min(next.value_or(*due), *due) : next;
        }
        poll(watched.data(), watched.size(), millisecondsUntil(next));
        eventfd_t ignored = 0;
        eventfd_read(changed, &ignored);
        if (watched[1].revents != 0)
        {
            accept();
        }
    }
}

void BusRelay::serve()
{
    connections.remove_if([this](RelayedConnection& connection) {
        return !connection.serve(late);
    });
}

void BusRelay::accept()
{
    const auto manager =
        accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (manager < 0)
    {
        // It may have left again. Otherwise it would wait here for ever.
        if (errno != EAGAIN && errno != ECONNABORTED && errno != EINTR)
        {
            close(std::exchange(listener, -1));
        }
        return;
    }
    try
    {
        if (const auto toBus = connectTo(bus); toBus >= 0)
        {
            connections.emplace_back(manager, toBus);
            return;
        }
    }
    catch (const std::system_error&)
    {
        // The manager sees its connection end, as without a bus.
    }
    close(manager);
}

} // namespace bmcsim
