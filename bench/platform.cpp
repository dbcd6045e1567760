// SPDX-License-Identifier: Apache-2.0
#include "platform.hpp"

#include "../tests/support/private_bus.hpp"
#include "registry.hpp"

#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace bench
{

using test::check;

void pinToOneCpu()
{
    cpu_set_t cpus;
    CPU_ZERO(&cpus);
    CPU_SET(sched_getcpu(), &cpus);
    check(sched_setaffinity(0, sizeof(cpus), &cpus) < 0 ? -errno : 0,
          "cannot pin the benchmark to a CPU");
}

static int answerTrue(sd_bus_message* call, void*, sd_bus_error*)
{
    return sd_bus_reply_method_return(call, "b", 1);
}

static int answerJob(sd_bus_message* call, void*, sd_bus_error*)
{
    return sd_bus_reply_method_return(call, "o",
                                      "/org/freedesktop/systemd1/job/7");
}

const sd_bus_vtable securityManager[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("verifyBmc", "s", "b", answerTrue,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

static int answerRegistry(sd_bus_message* call, void*, sd_bus_error*)
{
    const std::string path = sd_bus_message_get_path(call);
    sd_bus_message* reply = nullptr;
    check(sd_bus_message_new_method_return(call, &reply), "reply");
    appendRegistry(reply, std::stoi(path.substr(path.rfind('/') + 1)));
    const auto sent = sd_bus_message_send(reply);
    sd_bus_message_unref(reply);
    return sent;
}

const sd_bus_vtable cpldManager[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("bindedDevices", "", "a{s(ssa{sv})}", answerRegistry,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

const sd_bus_vtable systemd[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("StartUnit", "ss", "o", answerJob,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

/** @param ready  closed when the names are there */
[[noreturn]] static void serve(const std::string& busAddress, int ready)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sd_bus* bus = nullptr;
    check(sd_bus_new(&bus), "sd_bus_new");
    check(sd_bus_set_address(bus, busAddress.c_str()), "sd_bus_set_address");
    check(sd_bus_set_bus_client(bus, 1), "sd_bus_set_bus_client");
    check(sd_bus_start(bus), "sd_bus_start");
    check(
        sd_bus_add_object_vtable(bus, nullptr, "/xyz/openbmc_project/security",
                                 "xyz.openbmc_project.security.SecurityManager",
                                 securityManager, nullptr),
        "sd_bus_add_object_vtable");
    check(sd_bus_add_object_vtable(bus, nullptr, "/org/freedesktop/systemd1",
                                   "org.freedesktop.systemd1.Manager", systemd,
                                   nullptr),
          "sd_bus_add_object_vtable");
    check(sd_bus_add_fallback_vtable(bus, nullptr, "/registry",
                                     wexa::core::cpldUpdateMgrInterface.c_str(),
                                     cpldManager, nullptr, nullptr),
          "sd_bus_add_fallback_vtable");
    check(sd_bus_request_name(bus, wexa::core::cpldUpdateMgrService.c_str(), 0),
          "sd_bus_request_name");
    check(sd_bus_request_name(bus, "xyz.openbmc_project.SecurityManager", 0),
          "sd_bus_request_name");
    check(sd_bus_request_name(bus, "org.freedesktop.systemd1", 0),
          "sd_bus_request_name");
    close(ready);
    for (;;)
    {
        if (check(sd_bus_process(bus, nullptr), "sd_bus_process") == 0)
        {
            check(sd_bus_wait(bus, UINT64_MAX), "sd_bus_wait");
        }
    }
}

Platform::Platform(const std::string& busAddress)
{
    int ready[2];
    check(pipe(ready) < 0 ? -errno : 0, "pipe");
    child = check(fork(), "fork");
    if (child == 0)
    {
        close(ready[0]);
        serve(busAddress, ready[1]);
    }
    close(ready[1]);
    char nothing = 0;
    while (read(ready[0], &nothing, 1) > 0)
    {}
    close(ready[0]);
}

Platform::~Platform()
{
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

} // namespace bench
