// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of sdbusplus, for a machine that is no BMC.
#pragma once

#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <exception>
#include <string>

namespace sdbusplus
{

namespace exception
{

/** Base of everything this library throws; catch this one. */
struct [[gnu::visibility("default")]] exception : public std::exception
{
    /** D-Bus error name; may be null. */
    virtual const char* name() const noexcept = 0;
    /** Text for people; may be null. */
    virtual const char* description() const noexcept = 0;
    /** Positive errno; 0 if there is no error. */
    virtual int get_errno() const noexcept = 0;

  private:
    // Keeps this type's vtable and typeinfo in the shared library.
    virtual void unused() const noexcept;
};

/** Base of the errors that the library itself finds. */
struct [[gnu::visibility("default")]] internal_exception : public exception
{};

/** A call of sd-bus that failed, and the step it failed in.
 *
 *  what() is the step, then ": " and the error's name, then ": " and its
 *  message; a part that the error lacks is left out.
 */
class [[gnu::visibility("default")]] SdBusError final :
    public internal_exception
{
  public:
    /** @param error positive errno; 0 is no error and throws
     *         std::runtime_error.
     *  @param prefix name of the step that failed. */
    SdBusError(int error, const char* prefix,
               SdBusInterface* intf = &sdbus_impl);

    /** Takes the content of error over and leaves it empty.
     *
     *  @param prefix name of the step that failed. */
    SdBusError(sd_bus_error* error, const char* prefix,
               SdBusInterface* intf = &sdbus_impl);

    SdBusError(const SdBusError&) = delete;
    SdBusError& operator=(const SdBusError&) = delete;
    SdBusError(SdBusError&& other);
    SdBusError& operator=(SdBusError&& other);
    virtual ~SdBusError();

    const char* name() const noexcept override;
    const char* description() const noexcept override;
    const char* what() const noexcept override;
    int get_errno() const noexcept override;
    /** The error itself; it stays with this object. */
    const sd_bus_error* get_error() const noexcept;

  private:
    sd_bus_error error;
    std::string text;
    SdBusInterface* intf;
};

} // namespace exception

using exception_t = exception::exception;
using internal_exception_t = exception::internal_exception;

} // namespace sdbusplus
