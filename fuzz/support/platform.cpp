// SPDX-License-Identifier: Apache-2.0
#include "platform.hpp"

#include "../../tests/support/hidden.hpp"
#include "../../tests/support/message_text.hpp"

#include <poll.h>
#include <signal.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <system_error>

namespace fuzz
{

Answers Platform::answers;

constexpr auto settleMember = "Settle";

static std::string keyOf(sd_bus_message* call)
{
    const std::string member = sd_bus_message_get_member(call);
    return member == "Get" ? sd_bus_message_get_destination(call) : member;
}

static test::Connection newConnection(int descriptor)
{
    sd_bus* made = nullptr;
    test::check(sd_bus_new(&made), "sd_bus_new");
    test::Connection connection{made};
    test::check(sd_bus_set_fd(made, descriptor, descriptor), "sd_bus_set_fd");
    return connection;
}

Platform::Platform(std::function<void(std::string call)> note) :
    note(std::move(note))
{
    int ends[2];
    test::check(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK,
                           0, ends) < 0
                    ? -errno
                    : 0,
                "socketpair");
    server = newConnection(ends[0]);
    client = newConnection(ends[1]);

    constexpr sd_id128_t id{{1}};
    test::check(sd_bus_set_server(server.get(), 1, id), "sd_bus_set_server");
    test::check(sd_bus_start(server.get()), "sd_bus_start");
    test::check(sd_bus_add_filter(server.get(), nullptr, receive, this),
                "sd_bus_add_filter");
    thread = std::thread(&Platform::serve, this);

    test::check(sd_bus_set_bus_client(client.get(), 1),
                "sd_bus_set_bus_client");
    test::check(sd_bus_start(client.get()), "sd_bus_start");
}

Platform::~Platform()
{
    // The thread ends as it loses its peer.
    client.reset();
    thread.join();
}

void Platform::settle() const
{
    // Fails where the connection was lost, and then nothing is under way.
    sd_bus_call_method(client.get(), nullptr, "/", nullptr, settleMember,
                       nullptr, nullptr, nullptr);
}

int Platform::receive(sd_bus_message* call, void* platform, sd_bus_error*)
{
    try
    {
        static_cast<const Platform*>(platform)->answer(call);
    }
    catch (const std::system_error&)
    {
        sd_bus_close(sd_bus_message_get_bus(call));
    }
    return 1;
}

void Platform::answer(sd_bus_message* call) const
{
    const auto key = keyOf(call);
    if (key == "Hello")
    {
        return test::reply::text(":1.1")(call);
    }
    if (key == settleMember)
    {
        return test::reply::nothing()(call);
    }

    note(test::callText(call));
    if (const auto found = answers.find(key); found != answers.end())
    {
        return found->second.reply(call);
    }
    test::reply::error("org.freedesktop.DBus.Error.ServiceUnknown",
                       "The name is not activatable")(call);
}

/** The engine's signals are for its own thread. */
static void blockSignals()
{
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

void Platform::serve() const
{
    blockSignals();
    int worked = 0;
    while (worked >= 0)
    {
        worked = sd_bus_process(server.get(), nullptr);
        if (worked == 0)
        {
            worked = sd_bus_wait(server.get(), UINT64_MAX);
        }
    }
}

} // namespace fuzz

/** Waits on after a signal: the engine looks at the time every few seconds,
 *  which would make the call fail that happens to wait.
 */
extern "C" int ppoll(pollfd* descriptors, nfds_t count, const timespec* timeout,
                     const sigset_t* mask)
{
    static auto* const original = test::hidden<decltype(ppoll)>("ppoll");
    int ready = -1;
    do
    {
        ready = original(descriptors, count, timeout, mask);
    } while (ready < 0 && errno == EINTR);
    return ready;
}

/** Stands before libsystemd's: who calls a silent service does not wait. */
extern "C" int sd_bus_call(sd_bus* bus, sd_bus_message* message,
                           std::uint64_t timeout, sd_bus_error* error,
                           sd_bus_message** reply)
{
    static auto* const original =
        test::hidden<decltype(sd_bus_call)>("sd_bus_call");
    const auto found = fuzz::Platform::answers.find(fuzz::keyOf(message));
    const auto isSilent =
        found != fuzz::Platform::answers.end() && found->second.isSilent;
    return original(bus, message, isSilent ? 1 : timeout, error, reply);
}
