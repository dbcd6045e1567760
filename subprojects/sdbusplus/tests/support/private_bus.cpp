// SPDX-License-Identifier: Apache-2.0
#include "private_bus.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <type_traits>

namespace support
{

namespace
{

constexpr int startTimeoutMs = 10'000;

std::filesystem::path makeFolder()
{
    auto name = (std::filesystem::temp_directory_path() / "private-bus-XXXXXX")
                    .string();
    if (mkdtemp(name.data()) == nullptr)
    {
        throw std::runtime_error("cannot make a temporary folder");
    }
    return name;
}

void writeConfig(const std::filesystem::path& file, const std::string& address)
{
    std::ofstream(file) << "<busconfig><type>session</type>"
                           "<listen>"
                        << address
                        << "</listen>"
                           "<auth>EXTERNAL</auth>"
                           "<policy context='default'>"
                           "<allow send_destination='*' eavesdrop='true'/>"
                           "<allow eavesdrop='true'/>"
                           "<allow own='*'/>"
                           "</policy></busconfig>";
}

/** Starts the daemon; it prints its address to ready once it listens. */
pid_t start(const std::filesystem::path& folder, int ready)
{
    const auto log = folder / "log";
    const auto configOption =
        "--config-file=" + (folder / "config.xml").string();
    const auto readyOption = "--print-address=" + std::to_string(ready);
    const pid_t child = fork();
    if (child == 0)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(creat(log.c_str(), 0600), STDERR_FILENO);
        execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nosyslog",
               configOption.c_str(), readyOption.c_str(), nullptr);
        perror("cannot run dbus-daemon");
        _exit(127);
    }
    return child;
}

std::string contentOf(const std::filesystem::path& file)
{
    std::ifstream stream(file);
    return {std::istreambuf_iterator(stream), {}};
}

bool answers(int ready)
{
    pollfd waiting{ready, POLLIN, 0};
    char first = 0;
    return poll(&waiting, 1, startTimeoutMs) == 1 &&
           ::read(ready, &first, 1) == 1;
}

} // namespace

PrivateBus::PrivateBus() :
    folder(makeFolder()), socket("unix:path=" + (folder / "bus").string())
{
    writeConfig(folder / "config.xml", socket);
    int ready[2];
    if (pipe(ready) != 0)
    {
        throw std::runtime_error("cannot make a pipe");
    }
    daemon = start(folder, ready[1]);
    close(ready[1]);
    const bool started = answers(ready[0]);
    close(ready[0]);
    if (!started)
    {
        const auto log = contentOf(folder / "log");
        kill();
        throw std::runtime_error("dbus-daemon does not start: " + log);
    }
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
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}

sd_bus* PrivateBus::open() const
{
    sd_bus* opened = nullptr;
    if (sd_bus_new(&opened) < 0 ||
        sd_bus_set_address(opened, socket.c_str()) < 0 ||
        sd_bus_set_bus_client(opened, 1) < 0 || sd_bus_start(opened) < 0)
    {
        throw std::runtime_error("cannot connect to the private bus");
    }
    return opened;
}

sdbusplus::bus_t PrivateBus::connect() const
{
    sdbusplus::bus_t connection(open(), std::false_type());
    connection.set_should_close(true);
    return connection;
}

} // namespace support
