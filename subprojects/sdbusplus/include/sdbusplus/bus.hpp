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

namespace details
{

/** Drops a reference, and the connection with it where that is asked for. */
struct BusUnref
{
    sd_bus* (*drop)(sd_bus*) = sd_bus_unref;

    void operator()(sd_bus* b) const
    {
        drop(b);
    }
};

} // namespace details

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

    /** Whether the connection is flushed and closed when this object goes. */
    void set_should_close(bool shouldClose)
    {
        owned.get_deleter().drop =
            shouldClose ? sd_bus_flush_close_unref : sd_bus_unref;
    }

    /** The reference goes to the caller. */
    busp_t release()
    {
        return owned.release();
    }

    void flush()
    {
        checked(sd_bus_flush(get()), "sd_bus_flush");
    }

    void close()
    {
        sd_bus_close(get());
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

    /** Handles one message. Returns it if no handler took it, else a null one.
     */
    message_t process()
    {
        sd_bus_message* m = nullptr;
        checked(sd_bus_process(get(), &m), "sd_bus_process");
        return message_t(m, std::false_type());
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

    message_t new_signal(const char* objpath, const char* interf,
                         const char* member)
    {
        sd_bus_message* m = nullptr;
        checked(sd_bus_message_new_signal(get(), &m, objpath, interf, member),
                "sd_bus_message_new_signal");
        return message_t(m, std::false_type());
    }

    /** Calls and waits for the reply; an error reply is thrown too.
     *
     *  @param timeout_us microseconds; 0 is the connection's own time-out.
     */
    message_t call(message_t& m, uint64_t timeout_us)
    {
        sd_bus_message* reply = nullptr;
        callFor(m, timeout_us, &reply, "sd_bus_call");
        return message_t(reply, std::false_type());
    }

    message_t call(message_t& m,
                   std::optional<SdBusDuration> timeout = std::nullopt)
    {
        return call(m, timeout ? timeout->count() : 0);
    }

    /** Calls, waits for the reply and drops it; an error reply is thrown. */
    void call_noreply(message_t& m, uint64_t timeout_us)
    {
        callFor(m, timeout_us, nullptr, "sd_bus_call noreply");
    }

    void call_noreply(message_t& m,
                      std::optional<SdBusDuration> timeout = std::nullopt)
    {
        return call_noreply(m, timeout ? timeout->count() : 0);
    }

    /** Name on the bus, such as ":1.11".
     *
     *  Throws std::logic_error if the connection has no name.
     */
    std::string get_unique_name()
    {
        const char* unique = nullptr;
        sd_bus_get_unique_name(get(), &unique);
        return unique;
    }

    int get_fd()
    {
        return sd_bus_get_fd(get());
    }

    friend struct match::match;

  protected:
    busp_t get() noexcept
    {
        return owned.get();
    }

  private:
    static constexpr auto checked = sdbusplus::details::checked;

    void callFor(message_t& m, uint64_t timeout_us, sd_bus_message** reply,
                 const char* step)
    {
        sd_bus_error error{};
        if (sd_bus_call(get(), m.get(), timeout_us, &error, reply) < 0)
        {
            throw exception::SdBusError(&error, step);
        }
    }

    std::unique_ptr<sd_bus, details::BusUnref> owned;
};

/** The calling thread's own connection, shared with others in the thread; the
 *  system bus for services, the user's bus elsewhere. Not closed. */
inline bus new_default()
{
    sd_bus* b = nullptr;
    sd_bus_default(&b);
    return bus(b, std::false_type());
}

/** A new connection to the user's bus; closed when the object goes. */
inline bus new_user()
{
    sd_bus* b = nullptr;
    sd_bus_open_user(&b);
    bus opened(b, std::false_type());
    opened.set_should_close(true);
    return opened;
}

/** A new connection to the system bus; closed when the object goes. */
inline bus new_system()
{
    sd_bus* b = nullptr;
    sd_bus_open_system(&b);
    bus opened(b, std::false_type());
    opened.set_should_close(true);
    return opened;
}

} // namespace bus

using bus_t = bus::bus;

} // namespace sdbusplus
