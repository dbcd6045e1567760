// SPDX-License-Identifier: Apache-2.0
#include "bus_daemon.hpp"

#include "child.hpp"
#include "patience.hpp"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <stdexcept>

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
    sockaddr_un address{AF_UNIX, {}};
    std::strncpy(address.sun_path, socketPath.c_str(),
                 sizeof(address.sun_path) - 1);
    const auto probe = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const auto reached =
        connect(probe, reinterpret_cast<sockaddr*>(&address), sizeof(address));
    close(probe);
    return reached == 0;
}

BusDaemon::BusDaemon(const PrivateDirectory& directory)
{
    const auto configuration = directory.path() / "bus.conf";
    const auto log = directory.log("dbus-daemon");
    writeConfiguration(configuration, directory.busAddress());
    process = start(
        {{"dbus-daemon", "--nofork", "--config-file=" + configuration.string()},
         {},
         log});
    if (!within(startPatience, [&] { return listens(directory.busSocket()); }))
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

} // namespace bmcsim
