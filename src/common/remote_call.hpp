// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/bus.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

/** How every remote call of the library is made, and what becomes of its
 *  failures:
 *
 *  1. Create the method call. Not guarded: if the connection cannot make
 *     messages, or sd-bus refuses a name, the operation throws `SdBusError`,
 *     so that the daemon knows.
 *  2. Append the arguments. sdbusplus does not check this step; a message
 *     that it broke fails when it is called.
 *  3. Guarded, catching `RemoteError`: call, read what is needed of the
 *     reply, release it, act on it. A failure is logged on one line of
 *     standard error and becomes the operation's failure result. Everything
 *     else that is thrown, such as exhausted memory, leaves the operation.
 *
 *  Nothing is retried, kept or queued.
 */
namespace wexa::core
{

/** What the guarded region of a remote call catches. */
using RemoteError = sdbusplus::exception_t;

/** A method of a remote object, by its D-Bus names. */
struct RemoteMethod
{
    const char* service;
    const char* path;
    const char* interface;
    const char* member;
};

/** Step 1. */
inline auto newCall(sdbusplus::bus_t& bus, const RemoteMethod& method)
{
    return bus.new_method_call(method.service, method.path, method.interface,
                               method.member);
}

/** Step 3's call and read: the first value of the reply, which is released
 *  before the value is returned.
 *
 *  @throw RemoteError  the call failed, or the value has another type
 */
template <typename Value>
Value callFor(sdbusplus::bus_t& bus, sdbusplus::message_t& call)
{
    Value value{};
    bus.call(call).read(value);
    return value;
}

} // namespace wexa::core
