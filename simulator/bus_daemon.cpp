// SPDX-License-Identifier: Apache-2.0
#include "bus_daemon.hpp"

#include "child.hpp"
#include "patience.hpp"
#include "unix_socket.hpp"

#include <pwd.h>
#include <unistd.h>

#include <charconv>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace bmcsim
{

static void writeConfiguration(const std::filesystem::path& file,
                               const std::string& address)
{
    std::ofstream(file) << R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>)" << address << R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow user="*"/>
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
}

bool listens(const std::filesystem::path& socketPath)
{
    const auto probe = connectTo(socketPath);
    if (probe >= 0)
    {
        close(probe);
    }
    return probe >= 0;
}

/** Without the escapes of D-Bus addresses: "%20" is a blank. */
static std::string unescapedAddress(const std::string& value)
{
    std::string text;
    for (std::size_t i = 0; i < value.size(); ++i)
    {
        unsigned char code = 0;
        const auto* const hex = value.data() + i + 1;
        if (value[i] == '%' && i + 2 < value.size() &&
            std::from_chars(hex, hex + 2, code, 16).ptr == hex + 2)
        {
            text += static_cast<char>(code);
            i += 2;
        }
        else
        {
            text += value[i];
        }
    }
    return text;
}

static std::string socketOf(const std::string& address)
{
    constexpr std::string_view kind = "unix:path=/";
    if (!address.starts_with(kind))
    {
        throw std::runtime_error("'" + address +
                                 "' is not the address of a bus with a socket "
                                 "in a folder, such as unix:path=/tmp/bus");
    }
    const auto path = address.substr(kind.size() - 1);
    return unescapedAddress(path.substr(0, path.find_first_of(",;")));
}

void joinBus(const PrivateDirectory& directory, const std::string& address)
{
    const auto path = socketOf(address);
    if (!listens(path))
    {
        throw std::runtime_error("no bus listens at " + path);
    }
    std::filesystem::create_symlink(path, directory.busSocket());
}

/** dbus-daemon closes the connections of users whose groups it cannot find. */
static void checkAccount()
{
    const auto user = geteuid();
    if (getpwuid(user) == nullptr)
    {
        throw std::runtime_error(
            "dbus-daemon serves no user without an account; add the user " +
            std::to_string(user) + " to /etc/passwd");
    }
}

BusDaemon::BusDaemon(const PrivateDirectory& directory)
{
    checkAccount();
    const auto configuration = directory.path() / "bus.conf";
    const auto log = directory.log("dbus-daemon");
    writeConfiguration(configuration, directory.busAddress());
    process = start(
        {{"dbus-daemon", "--nofork", "--config-file=" + configuration.string()},
         {},
         log});
    const auto isUp = [&] { return listens(directory.busSocket()); };
    within(startPatience, [&] { return isUp() || hasEnded(process); });
    if (!isUp())
    {
        end(process);
        throw std::runtime_error("dbus-daemon does not start: " + tailOf(log));
    }
}

BusDaemon::~BusDaemon()
{
    stop();
}

void BusDaemon::stop()
{
    end(process);
}

void BusDaemon::childEnded(pid_t child)
{
    if (child == process)
    {
        process = -1;
    }
}

} // namespace bmcsim
