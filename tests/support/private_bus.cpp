// SPDX-License-Identifier: Apache-2.0
#include "private_bus.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>
#include <system_error>

namespace test
{

int check(int result, const char* what)
{
    if (result < 0)
    {
        throw std::system_error(-result, std::generic_category(), what);
    }
    return result;
}

static void writeConfiguration(const std::string& file,
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
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
}

static void execDaemon(const std::string& configuration, int ready)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // It complains of limits that no test comes near.
    dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
    const auto option = "--config-file=" + configuration;
    const auto printTo = "--print-address=" + std::to_string(ready);
    execlp("dbus-daemon", "dbus-daemon", "--nofork", option.c_str(),
           printTo.c_str(), nullptr);
    _exit(127);
}

PrivateBus::PrivateBus()
{
    const auto configuration = directory.file("bus.conf");
    writeConfiguration(configuration, "unix:path=" + directory.file("bus"));

    int ready[2];
    check(pipe(ready) < 0 ? -errno : 0, "pipe");
    daemon = check(fork(), "fork");
    if (daemon == 0)
    {
        close(ready[0]);
        execDaemon(configuration, ready[1]);
    }
    close(ready[1]);

    // The daemon prints its address once it listens.
    char printed[256];
    const auto length = read(ready[0], printed, sizeof(printed));
    close(ready[0]);
    if (length <= 1)
    {
        throw std::runtime_error("dbus-daemon does not start: installed?");
    }
    where.assign(printed, static_cast<std::size_t>(length) - 1);
}

PrivateBus::~PrivateBus()
{
    kill();
}

void PrivateBus::kill()
{
    if (daemon > 0)
    {
        ::kill(daemon, SIGKILL);
        waitpid(daemon, nullptr, 0);
        daemon = -1;
    }
}

Connection PrivateBus::connect() const
{
    sd_bus* made = nullptr;
    check(sd_bus_new(&made), "sd_bus_new");
    Connection connection{made};
    check(sd_bus_set_address(made, where.c_str()), "sd_bus_set_address");
    check(sd_bus_set_bus_client(made, 1), "sd_bus_set_bus_client");
    check(sd_bus_start(made), "sd_bus_start");
    // Saying who we are ends the handshake.
    const char* name = nullptr;
    check(sd_bus_get_unique_name(made, &name), "sd_bus_get_unique_name");
    return connection;
}

} // namespace test
