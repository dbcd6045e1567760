// SPDX-License-Identifier: Apache-2.0
#include "disturbed_call.hpp"

#include "hidden.hpp"

#include <systemd/sd-bus.h>

#include <cerrno>
#include <cstdint>

static std::string refusedMember;
static std::string disturbedMember;
static std::function<void()> disturbance;

namespace test
{

RefusedCall::RefusedCall(std::string member)
{
    refusedMember = std::move(member);
}

RefusedCall::~RefusedCall()
{
    refusedMember.clear();
}

BeforeCall::BeforeCall(std::string member, std::function<void()> action)
{
    disturbedMember = std::move(member);
    disturbance = std::move(action);
}

BeforeCall::~BeforeCall()
{
    disturbedMember.clear();
}

} // namespace test

extern "C" int
sd_bus_message_new_method_call(sd_bus* bus, sd_bus_message** message,
                               const char* service, const char* path,
                               const char* interface, const char* member)
{
    if (!refusedMember.empty() && refusedMember == member)
    {
        return -ENOTCONN;
    }
    return test::hidden<decltype(sd_bus_message_new_method_call)>(
        "sd_bus_message_new_method_call")(bus, message, service, path,
                                          interface, member);
}

extern "C" int sd_bus_call(sd_bus* bus, sd_bus_message* message,
                           std::uint64_t timeout, sd_bus_error* error,
                           sd_bus_message** reply)
{
    if (!disturbedMember.empty() &&
        disturbedMember == sd_bus_message_get_member(message))
    {
        disturbance();
    }
    return test::hidden<decltype(sd_bus_call)>("sd_bus_call")(
        bus, message, timeout, error, reply);
}
