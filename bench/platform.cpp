// SPDX-License-Identifier: Apache-2.0
#include "platform.hpp"

#include "../src/cpld/names.hpp"
#include "../tests/support/private_bus.hpp"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace bench
{

using test::check;

static int boundDevices = 8;

static int answerTrue(sd_bus_message* call, void*, sd_bus_error*)
{
    return sd_bus_reply_method_return(call, "b", 1);
}

static int answerVersion(sd_bus_message* call, void*, sd_bus_error*)
{
    return sd_bus_reply_method_return(call, "s", "1.0.3");
}

/** With a job, as systemd does; with a boolean, as UpdateCPLD wants it, where
 *  the unit is for the component of that name. No vtable would allow both.
 */
static int answerStart(sd_bus_message* call, void*, sd_bus_error*)
{
    if (sd_bus_message_is_method_call(call, nullptr, "StartUnit") == 0)
    {
        return 0;
    }
    const char* unit = nullptr;
    check(sd_bus_message_read_basic(call, 's', &unit), "StartUnit");
    return std::strstr(unit, "boolean") != nullptr
               ? answerTrue(call, nullptr, nullptr)
               : sd_bus_reply_method_return(call, "o",
                                            "/org/freedesktop/systemd1/job/7");
}

static int answerImageInfo(sd_bus_message* call, void*, sd_bus_error*)
{
    return sd_bus_reply_method_return(call, "a{sv}", 3, "deviceId", "u", 7,
                                      "checksum", "u", 4711, "versionString",
                                      "s", "1.0.4");
}

static int answerBind(sd_bus_message* call, void*, sd_bus_error*)
{
    check(sd_bus_message_read(call, "i", &boundDevices), "bind");
    return sd_bus_reply_method_return(call, "");
}

static void appendDevice(sd_bus_message* message, int number)
{
    const auto name = "CPLD_" + std::to_string(number);
    const auto path = wexa::core::cpldUpdateMgrPath + "/" + name;
    check(sd_bus_message_append(
              message, "{s(ssa{sv})}", name.c_str(), path.c_str(), "jtag", 8,
              "vendor", "s", "WEXA", "deviceId", "u", number, "flashBytes", "t",
              std::uint64_t{8} << 20, "temperatureLimit", "i", 85, "madeAt",
              "x", std::int64_t{1710460800}, "removable", "b", 0, "supplyVolts",
              "d", 3.3, "version", "s", "1.0.3"),
          "append");
}

static int answerRegistry(sd_bus_message* call, void*, sd_bus_error*)
{
    sd_bus_message* reply = nullptr;
    check(sd_bus_message_new_method_return(call, &reply), "reply");
    check(sd_bus_message_open_container(reply, 'a', "{s(ssa{sv})}"), "open");
    for (auto number = 0; number < boundDevices; ++number)
    {
        appendDevice(reply, number);
    }
    check(sd_bus_message_close_container(reply), "close");
    const auto sent = sd_bus_message_send(reply);
    sd_bus_message_unref(reply);
    return sent;
}

static int getBoard(sd_bus*, const char*, const char*, const char*,
                    sd_bus_message* reply, void*, sd_bus_error*)
{
    return sd_bus_message_append(reply, "q", 1);
}

static int getApplyTime(sd_bus*, const char*, const char*, const char*,
                        sd_bus_message* reply, void*, sd_bus_error*)
{
    return sd_bus_message_append(
        reply, "s",
        "xyz.openbmc_project.Software.ApplyTime.RequestedApplyTimes.OnReset");
}

static int getNothing(sd_bus*, const char*, const char*, const char*,
                      sd_bus_message* reply, void*, sd_bus_error*)
{
    return sd_bus_message_append(reply, "s", "");
}

static int setNothing(sd_bus*, const char*, const char*, const char*,
                      sd_bus_message* value, void*, sd_bus_error*)
{
    return sd_bus_message_skip(value, "s");
}

constexpr auto open = SD_BUS_VTABLE_UNPRIVILEGED;

const sd_bus_vtable securityManager[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("verifyBmc", "s", "b", answerTrue, open),
    SD_BUS_METHOD("verifyBios", "s", "b", answerTrue, open),
    SD_BUS_METHOD("verifyCapsule", "s", "b", answerTrue, open),
    SD_BUS_VTABLE_END,
};

const sd_bus_vtable host[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_PROPERTY("BoardId", "q", getBoard, 0, 0),
    SD_BUS_VTABLE_END,
};

const sd_bus_vtable firmwareInformation[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_WRITABLE_PROPERTY("stagingBMC", "s", getNothing, setNothing, 0,
                             open),
    SD_BUS_WRITABLE_PROPERTY("stagingBIOS", "s", getNothing, setNothing, 0,
                             open),
    SD_BUS_WRITABLE_PROPERTY("stagingCapsuleMCU", "s", getNothing, setNothing,
                             0, open),
    SD_BUS_VTABLE_END,
};

const sd_bus_vtable applyTime[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_PROPERTY("RequestedApplyTime", "s", getApplyTime, 0, 0),
    SD_BUS_VTABLE_END,
};

const sd_bus_vtable cpldManager[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("bindedDevices", "", "a{s(ssa{sv})}", answerRegistry, open),
    SD_BUS_METHOD("bind", "i", "", answerBind, open),
    SD_BUS_VTABLE_END,
};

const sd_bus_vtable cpldDevice[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("readMBVersionString", "", "s", answerVersion, open),
    SD_BUS_METHOD("readImageFileInfo", "s", "a{sv}", answerImageInfo, open),
    SD_BUS_METHOD("verifyCPLD", "s", "b", answerTrue, open),
    SD_BUS_VTABLE_END,
};

struct Service
{
    std::string name;
    std::string path;
    std::string interface;
    const sd_bus_vtable* methods;
};

/** Below the path too, as the CPLD devices want it. */
static void offerMethods(sd_bus* bus, const std::string& path,
                         const std::string& interface,
                         const sd_bus_vtable* methods)
{
    check(sd_bus_add_fallback_vtable(bus, nullptr, path.c_str(),
                                     interface.c_str(), methods, nullptr,
                                     nullptr),
          "sd_bus_add_fallback_vtable");
}

static void offer(sd_bus* bus, const Service& service)
{
    offerMethods(bus, service.path, service.interface, service.methods);
    check(sd_bus_request_name(bus, service.name.c_str(), 0),
          "sd_bus_request_name");
}

static void offerAll(sd_bus* bus)
{
    using namespace wexa::core;
    const Service services[] = {
        {"xyz.openbmc_project.SecurityManager", "/xyz/openbmc_project/security",
         "xyz.openbmc_project.security.SecurityManager", securityManager},
        {"com.WEXA.Host", "/com/WEXA/Host", "com.WEXA.Host", host},
        {"xyz.openbmc_project.FwInfoManager", "/xyz/openbmc_project/fwinfo",
         "xyz.openbmc_project.fwinfo.FwInfoManager", firmwareInformation},
        {"xyz.openbmc_project.Settings",
         "/xyz/openbmc_project/software/apply_time",
         "xyz.openbmc_project.Software.ApplyTime", applyTime},
        {cpldUpdateMgrService, cpldUpdateMgrPath, cpldUpdateMgrInterface,
         cpldManager},
    };
    for (const auto& service : services)
    {
        offer(bus, service);
    }
    check(sd_bus_add_object(bus, nullptr, "/org/freedesktop/systemd1",
                            answerStart, nullptr),
          "sd_bus_add_object");
    check(sd_bus_request_name(bus, "org.freedesktop.systemd1", 0),
          "sd_bus_request_name");
    offerMethods(bus, cpldUpdateMgrPath, cpldDeviceInterface, cpldDevice);
}

/** @param ready  written to when the names are there */
[[noreturn]] static void serve(const std::string& busAddress,
                               int ready) noexcept
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const auto connection = test::connectTo(busAddress);
    auto* const bus = connection.get();
    offerAll(bus);
    check(write(ready, "", 1) < 0 ? -errno : 0, "write");
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
    char word = 0;
    const auto size = read(ready[0], &word, 1);
    close(ready[0]);
    if (size != 1)
    {
        waitpid(child, nullptr, 0);
        throw std::runtime_error("the services of the benchmark do not start");
    }
}

Platform::~Platform()
{
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
}

void bindDevices(sd_bus* bus, int devices)
{
    using namespace wexa::core;
    check(sd_bus_call_method(bus, cpldUpdateMgrService.c_str(),
                             cpldUpdateMgrPath.c_str(),
                             cpldUpdateMgrInterface.c_str(), "bind", nullptr,
                             nullptr, "i", devices),
          "bind");
}

} // namespace bench
