// SPDX-License-Identifier: Apache-2.0
// Of the stand-in of sdbusplus, for a machine that is no BMC.
#pragma once

#include <sdbusplus/details/checked.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>
#include <sdbusplus/sdbus.hpp>
#include <systemd/sd-bus.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

namespace sdbusplus
{

namespace bus
{

using busp_t = sd_bus*;

namespace match
{

struct match;

} // namespace match

/** A reference to a connection of sd-bus, or to none. */
struct bus
{
    bus() = delete;
    bus(const bus&) = delete;
    bus& operator=(const bus&) = delete;
    bus(bus&&) = default;
    bus& operator=(bus&&) = default;
    ~bus() = default;

    /** Takes a reference of its own.
     *
     *  Waits until the connection is up; throws std::logic_error if it does
     *  not come up, or was never started.
     */
    explicit bus(busp_t b) : bus(sd_bus_ref(b), std::false_type()) {}

    /** Takes the caller's reference over; otherwise as the one above. */
    bus(busp_t b, std::false_type) : owned(b)
    {
        if (b != nullptr)
        {
            get_unique_name();
        }
    }

    /** Waits for traffic; UINT64_MAX is for ever. Failures are not seen. */
    void wait(uint64_t timeout_us)
    {
        sd_bus_wait(get(), timeout_us);
    }

    void wait(std::optional<SdBusDuration> timeout = std::nullopt)
    {
        wait(timeout ? timeout->count() : UINT64_MAX);
    }

    /** Handles one message; true if there was something to do. */
    bool process_discard()
    {
        return checked(sd_bus_process(get(), nullptr),
                       "sd_bus_process discard") > 0;
    }

    void request_name(const char* service)
    {
        checked(sd_bus_request_name(get(), service, 0), "sd_bus_request_name");
    }

    message_t new_method_call(const char* service, const char* objpath,
                              const char* interf, const char* method)
    {
        sd_bus_message* m = nullptr;
        checked(sd_bus_message_new_method_call(get(), &m, service, objpath,
                                               interf, method),
                "sd_bus_message_new_method_call");
        return message_t(m, std::false_type());
    }

    /** Calls and waits for the reply; an error reply is thrown too.
     *
     *  @param timeout_us microseconds; 0 is the connection's own time-out.
     */
    message_t call(message_t& m, uint64_t timeout_us)
    {
        sd_bus_error error{};
        sd_bus_message* reply = nullptr;
        if (sd_bus_call(get(), m.get(), timeout_us, &error, &reply) < 0)
        {
            throw exception::SdBusError(&error, "sd_bus_call");
        }
        return message_t(reply, std::false_type());
    }

    message_t call(message_t& m,
                   std::optional<SdBusDuration> timeout = std::nullopt)
    {
        return call(m, timeout ? timeout->count() : 0);
    }

    /** Name on the bus, such as ":1.11".
     *
     *  Throws std::logic_error where there is none.
     */
    std::string get_unique_name()
    {
        const char* unique = nullptr;
        sd_bus_get_unique_name(get(), &unique);
        return unique;
    }

    friend struct match::match;

  protected:
    busp_t get() noexcept
    {
        return owned.get();
    }

  private:
    static constexpr auto checked = sdbusplus::details::checked;

    struct Unref
    {
        void operator()(busp_t b) const
        {
            sd_bus_unref(b);
        }
    };

    std::unique_ptr<sd_bus, Unref> owned;
};

/** The calling thread's own connection, shared with others in the thread; the
 *  system bus for services, the user's bus elsewhere. Not closed. */
inline bus new_default()
{
    sd_bus* b = nullptr;
    sd_bus_default(&b);
    return bus(b, std::false_type());
}

} // namespace bus

using bus_t = bus::bus;

} // namespace sdbusplus
