// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <systemd/sd-bus.h>

#include <exception>
#include <string>

namespace sdbusplus
{

namespace exception
{

/** What everything thrown by this library derives from. */
struct exception : std::exception
{
    /** The D-Bus error's name. */
    virtual const char* name() const noexcept = 0;

    /** The D-Bus error's text. */
    virtual const char* description() const noexcept = 0;

    /** A positive errno. */
    virtual int get_errno() const noexcept = 0;
};

/** What the library itself throws, as opposed to generated bindings. */
struct internal_exception : exception
{};

/** A failed step of sd-bus.
 *
 *  `what()` names the step, then the D-Bus error's name and its text, as far
 *  as it has them, separated by ": ".
 */
class SdBusError final : public internal_exception
{
  public:
    /** @param error   a positive errno
     *  @param prefix  the step that failed
     */
    SdBusError(int error, const char* prefix);

    /** @param error  filled by sd-bus; taken over, empty afterwards */
    SdBusError(sd_bus_error* error, const char* prefix);

    SdBusError(SdBusError&& other) noexcept;
    SdBusError& operator=(SdBusError&& other) noexcept;
    SdBusError(const SdBusError&) = delete;
    SdBusError& operator=(const SdBusError&) = delete;
    ~SdBusError() override;

    const char* name() const noexcept override;
    const char* description() const noexcept override;
    const char* what() const noexcept override;
    int get_errno() const noexcept override;
    const sd_bus_error* get_error() const noexcept;

  private:
    sd_bus_error error;
    std::string text;
};

} // namespace exception

using exception_t = exception::exception;
using internal_exception_t = exception::internal_exception;

} // namespace sdbusplus
