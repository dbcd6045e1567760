// SPDX-License-Identifier: Apache-2.0
#include "forger.hpp"

#include "private_bus.hpp"

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>

namespace test
{

constexpr auto manager = "/org/freedesktop/systemd1";
constexpr auto managerInterface = "org.freedesktop.systemd1.Manager";
constexpr auto job = "/org/freedesktop/systemd1/job/1";

ForgedSignal forgedJobRemoved(const std::string& unit,
                              const std::string& result)
{
    return {manager, managerInterface, "JobRemoved",
            [=](sd_bus_message* signal) {
                check(sd_bus_message_append(signal, "uoss", 1U, job,
                                            unit.c_str(), result.c_str()),
                      "append");
            }};
}

ForgedSignal forgedJobNew(const std::string& unit)
{
    return {manager, managerInterface, "JobNew", [=](sd_bus_message* signal) {
                check(
                    sd_bus_message_append(signal, "uos", 1U, job, unit.c_str()),
                    "append");
            }};
}

ForgedSignal forgedNameOwnerChanged(const std::string& name,
                                    const std::string& before,
                                    const std::string& after)
{
    return {"/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged",
            [=](sd_bus_message* signal) {
                check(sd_bus_message_append(signal, "sss", name.c_str(),
                                            before.c_str(), after.c_str()),
                      "append");
            }};
}

ForgedSignal forgedPropertiesChanged(const std::string& unit)
{
    char* path = nullptr;
    check(sd_bus_path_encode("/org/freedesktop/systemd1/unit", unit.c_str(),
                             &path),
          "path");
    const std::string object = path;
    free(path);
    return {object, "org.freedesktop.DBus.Properties", "PropertiesChanged",
            [](sd_bus_message* signal) {
                check(sd_bus_message_append(signal, "sa{sv}as",
                                            "org.freedesktop.systemd1.Unit", 1,
                                            "ActiveState", "s", "inactive", 0),
                      "append");
            }};
}

ForgedSignal malformed(ForgedSignal signal)
{
    signal.append = [](sd_bus_message* message) {
        check(sd_bus_message_append(message, "u", 1U), "append");
    };
    return signal;
}

static std::vector<std::string> uniqueNames(sd_bus* bus)
{
    sd_bus_message* reply = nullptr;
    check(sd_bus_call_method(bus, "org.freedesktop.DBus",
                             "/org/freedesktop/DBus", "org.freedesktop.DBus",
                             "ListNames", nullptr, &reply, ""),
          "ListNames");
    char** names = nullptr;
    check(sd_bus_message_read_strv(reply, &names), "names");
    std::vector<std::string> unique;
    for (auto** name = names; name != nullptr && *name != nullptr; ++name)
    {
        if (**name == ':')
        {
            unique.emplace_back(*name);
        }
        free(*name);
    }
    free(names);
    sd_bus_message_unref(reply);
    return unique;
}

static void send(sd_bus* bus, const ForgedSignal& signal,
                 const std::string& receiver)
{
    sd_bus_message* message = nullptr;
    check(sd_bus_message_new_signal(bus, &message, signal.path.c_str(),
                                    signal.interface.c_str(),
                                    signal.member.c_str()),
          "sd_bus_message_new_signal");
    signal.append(message);
    check(sd_bus_message_set_destination(message, receiver.c_str()),
          "destination");
    check(sd_bus_send(bus, message, nullptr), "sd_bus_send");
    sd_bus_message_unref(message);
}

static void forgeAsAnother(const std::string& busAddress,
                           const std::vector<ForgedSignal>& signals)
{
    constexpr auto other = 65534;
    if (setgroups(0, nullptr) != 0 || setgid(other) != 0 || setuid(other) != 0)
    {
        throw std::runtime_error("cannot become another user");
    }
    const auto bus = connectTo(busAddress);
    for (const auto& receiver : uniqueNames(bus.get()))
    {
        for (const auto& signal : signals)
        {
            send(bus.get(), signal, receiver);
        }
    }
    // The bus answers this call after it has handled what came before.
    uniqueNames(bus.get());
}

void forge(const std::string& busAddress,
           const std::vector<ForgedSignal>& signals)
{
    const auto child = fork();
    if (child == 0)
    {
        try
        {
            forgeAsAnother(busAddress, signals);
            _exit(0);
        }
        catch (const std::exception& error)
        {
            std::fprintf(stderr, "forger: %s\n", error.what());
            _exit(1);
        }
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (status != 0)
    {
        throw std::runtime_error("the signals could not be sent");
    }
}

} // namespace test
