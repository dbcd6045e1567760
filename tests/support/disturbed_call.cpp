// SPDX-License-Identifier: Apache-2.0
#include "disturbed_call.hpp"

#include <dlfcn.h>
#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdint>
#include <stdexcept>

static std::string refused;
static std::string throwing;

/** libsystemd's own, which the one below of the same name hides. */
template <typename Function>
static Function* hidden(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

namespace test
{

RefusedCall::RefusedCall(std::string service)
{
    refused = std::move(service);
}

RefusedCall::~RefusedCall()
{
    refused.clear();
}

ThrowingCall::ThrowingCall(std::string member)
{
    throwing = std::move(member);
}

ThrowingCall::~ThrowingCall()
{
    throwing.clear();
}

} // namespace test

extern "C" int
sd_bus_message_new_method_call(sd_bus* bus, sd_bus_message** message,
                               const char* service, const char* path,
                               const char* interface, const char* member)
{
    if (refused == service)
    {
        return -ENOTCONN;
    }
    return hidden<decltype(sd_bus_message_new_method_call)>(
        "sd_bus_message_new_method_call")(bus, message, service, path,
                                          interface, member);
}

extern "C" int sd_bus_call(sd_bus* bus, sd_bus_message* message,
                           std::uint64_t timeout, sd_bus_error* error,
                           sd_bus_message** reply)
{
    if (throwing == sd_bus_message_get_member(message))
    {
        throw std::runtime_error("from below");
    }
    return hidden<decltype(sd_bus_call)>("sd_bus_call")(bus, message, timeout,
                                                        error, reply);
}
