// SPDX-License-Identifier: Apache-2.0
#include "refused_call.hpp"

#include <dlfcn.h>
#include <systemd/sd-bus.h>

#include <cerrno>

static std::string refused;

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

} // namespace test

/** Hides libsystemd's. */
extern "C" int
sd_bus_message_new_method_call(sd_bus* bus, sd_bus_message** message,
                               const char* service, const char* path,
                               const char* interface, const char* member)
{
    if (refused == service)
    {
        return -ENOTCONN;
    }
    const auto hidden =
        reinterpret_cast<decltype(&sd_bus_message_new_method_call)>(
            dlsym(RTLD_NEXT, "sd_bus_message_new_method_call"));
    return hidden(bus, message, service, path, interface, member);
}
