// SPDX-License-Identifier: Apache-2.0
#include "bus_program.hpp"
#include "private_bus.hpp"
#include "process.hpp"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>

// dbus-broker does not listen, read files or decide anything by itself: a
// controller hands it sockets and policies, over a connection of their own.

namespace test
{

namespace
{

constexpr auto listenerPath = "/org/bus1/DBus/Listener/0";

int checkErrno(int result, const char* what)
{
    return check(result < 0 ? -errno : result, what);
}

int listenAt(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof(address.sun_path) - 1);
    const auto listener = checkErrno(
        socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0),
        "socket");
    checkErrno(bind(listener, reinterpret_cast<const sockaddr*>(&address),
                    sizeof(address)),
               "bind");
    checkErrno(listen(listener, SOMAXCONN), "listen");
    return listener;
}

/** The rules for all users: connecting and owning are allowed, sending except
 *  to `refused`, receiving.
 */
void appendRules(sd_bus_message* message, const std::string& refused)
{
    const std::uint64_t always = 1;
    const std::uint64_t over = 2;
    const std::uint64_t any = 0;
    const std::uint64_t most = UINT64_MAX;
    const int methodCalls = 1;
    check(sd_bus_message_append(message, "bta(btbs)", 1, always, 1, 1, always,
                                1, ""),
          "owning");
    if (refused.empty())
    {
        check(sd_bus_message_append(message, "a(btssssuutt)", 1, 1, always, "",
                                    "", "", "", 0, 0, any, most),
              "sending");
    }
    else
    {
        check(sd_bus_message_append(message, "a(btssssuutt)", 2, 1, always, "",
                                    "", "", "", 0, 0, any, most, 0, over,
                                    refused.c_str(), "", "", "", methodCalls, 0,
                                    any, most),
              "sending");
    }
    check(sd_bus_message_append(message, "a(btssssuutt)", 1, 1, always, "", "",
                                "", "", 0, 0, any, most),
          "receiving");
}

/** The whole policy: by user (one rule set, for all), by group, of SELinux,
 *  of AppArmor; then the kind of the bus.
 */
void appendPolicy(sd_bus_message* message, const std::string& refused)
{
    constexpr auto rules = "bta(btbs)a(btssssuutt)a(btssssuutt)";
    constexpr auto user = "u(bta(btbs)a(btssssuutt)a(btssssuutt))";
    constexpr auto users = "(u(bta(btbs)a(btssssuutt)a(btssssuutt)))";
    constexpr auto policy = "a(u(bta(btbs)a(btssssuutt)a(btssssuutt)))"
                            "a(buu(bta(btbs)a(btssssuutt)a(btssssuutt)))"
                            "a(ss)bs";
    const auto inBrackets = '(' + std::string(policy) + ')';
    constexpr std::uint32_t everybody = UINT32_MAX;

    check(sd_bus_message_open_container(message, 'v', inBrackets.c_str()),
          "policy");
    check(sd_bus_message_open_container(message, 'r', policy), "policy");
    check(sd_bus_message_open_container(message, 'a', users), "users");
    check(sd_bus_message_open_container(message, 'r', user), "user");
    check(sd_bus_message_append(message, "u", everybody), "user");
    check(sd_bus_message_open_container(message, 'r', rules), "rules");
    appendRules(message, refused);
    for (int open = 0; open < 3; ++open)
    {
        check(sd_bus_message_close_container(message), "users");
    }
    check(sd_bus_message_append(
              message, "a(buu(bta(btbs)a(btssssuutt)a(btssssuutt)))a(ss)bs", 0,
              0, 0, "session"),
          "groups, SELinux, AppArmor, kind");
    check(sd_bus_message_close_container(message), "policy");
    check(sd_bus_message_close_container(message), "policy");
}

class DbusBroker : public BusProgram
{
  public:
    explicit DbusBroker(const std::string& directory)
    {
        int ends[2];
        checkErrno(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), "socketpair");
        checkErrno(fcntl(ends[0], F_SETFD, FD_CLOEXEC), "fcntl");
        broker = std::make_unique<Process>(std::vector<std::string>{
            "dbus-broker", "--controller", std::to_string(ends[1]),
            "--machine-id", "0123456789abcdef0123456789abcdef", "--max-bytes",
            "1000000000", "--max-matches", "100000", "--max-objects",
            "100000"});
        close(ends[1]);
        connect(ends[0]);
        listen(listenAt(directory + "/bus"));
    }

    void refuse(const std::string& service) override
    {
        sd_bus_message* made = nullptr;
        check(sd_bus_message_new_method_call(
                  controller.get(), &made, nullptr, listenerPath,
                  "org.bus1.DBus.Listener", "SetPolicy"),
              "SetPolicy");
        appendPolicy(made, service);
        call(made);
    }

    std::string serviceUnknown(const std::string&) const override
    {
        return "org.freedesktop.DBus.Error.ServiceUnknown: The name is not "
               "activatable";
    }

    std::string noReply() const override
    {
        return "org.freedesktop.DBus.Error.NoReply: Remote peer disconnected";
    }

    std::string_view accessDeniedIn(std::string_view text) const override
    {
        constexpr std::string_view refusal =
            "org.freedesktop.DBus.Error.AccessDenied: Sender is not "
            "authorized to send message";
        const auto begin = text.find(refusal);
        return begin == text.npos ? std::string_view()
                                  : text.substr(begin, refusal.size());
    }

    void kill() override
    {
        broker.reset();
    }

  private:
    void connect(int end)
    {
        sd_bus* made = nullptr;
        check(sd_bus_new(&made), "sd_bus_new");
        controller.reset(made);
        check(sd_bus_set_fd(made, end, end), "sd_bus_set_fd");
        check(sd_bus_start(made), "sd_bus_start");
    }

    void listen(int listener)
    {
        sd_bus_message* made = nullptr;
        check(sd_bus_message_new_method_call(
                  controller.get(), &made, nullptr, "/org/bus1/DBus/Broker",
                  "org.bus1.DBus.Broker", "AddListener"),
              "AddListener");
        check(sd_bus_message_append(made, "oh", listenerPath, listener),
              "listener");
        close(listener);
        appendPolicy(made, "");
        call(made);
    }

    /** Makes a call of the controller's, and drops it. */
    void call(sd_bus_message* made)
    {
        const auto result =
            sd_bus_call(controller.get(), made, 0, nullptr, nullptr);
        sd_bus_message_unref(made);
        check(result, "dbus-broker");
    }

    std::unique_ptr<Process> broker;
    Connection controller;
};

} // namespace

std::unique_ptr<BusProgram> startDbusBroker(const std::string& directory)
{
    return std::make_unique<DbusBroker>(directory);
}

std::vector<std::string> busPrograms()
{
    std::istringstream folders(std::getenv("PATH"));
    for (std::string folder; std::getline(folders, folder, ':');)
    {
        if (access((folder + "/dbus-broker").c_str(), X_OK) == 0)
        {
            return {"dbus-daemon", "dbus-broker"};
        }
    }
    return {"dbus-daemon"};
}

} // namespace test
