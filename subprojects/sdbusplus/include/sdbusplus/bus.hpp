// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>
#include <systemd/sd-bus.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace sdbusplus
{

namespace bus
{

using busp_t = sd_bus*;

namespace details
{

struct Release
{
    void operator()(busp_t b) const
    {
        close ? sd_bus_flush_close_unref(b) : sd_bus_unref(b);
    }

    bool close = false;
};

} // namespace details

/** One reference to a connection to a D-Bus daemon. */
struct bus
{
    /** Adds a reference to `b`, which may be null. A connection must have
     *  been started.
     */
    explicit bus(busp_t b) : bus(sd_bus_ref(b), std::false_type{}) {}

    /** Takes over the caller's reference. */
    bus(busp_t b, std::false_type) : held(b)
    {
        // Knowing its name means that the connection is up.
        if (b != nullptr)
        {
            get_unique_name();
        }
    }

    bus(bus&&) = default;
    bus& operator=(bus&&) = default;
    bus(const bus&) = delete;
    bus& operator=(const bus&) = delete;
    ~bus() = default;

    /** Whether the connection is flushed and closed with this handle. */
    void set_should_close(bool shouldClose)
    {
        held.get_deleter().close = shouldClose;
    }

    busp_t release()
    {
        return held.release();
    }

    void flush()
    {
        check(sd_bus_flush(held.get()), "sd_bus_flush");
    }

    void close()
    {
        sd_bus_close(held.get());
    }

    /** Waits for something to process.
     *
     *  @param timeout_us  in microseconds
     */
    void wait(std::uint64_t timeout_us)
    {
        sd_bus_wait(held.get(), timeout_us);
    }

    void wait(std::optional<SdBusDuration> timeout = std::nullopt)
    {
        wait(timeout ? static_cast<std::uint64_t>(timeout->count())
                     : UINT64_MAX);
    }

    /** Processes one event; its message, if that was nobody's. */
    message_t process()
    {
        sd_bus_message* m = nullptr;
        check(sd_bus_process(held.get(), &m), "sd_bus_process");
        return {m, std::false_type{}};
    }

    /** Processes one event; whether there was one. */
    bool process_discard()
    {
        return check(sd_bus_process(held.get(), nullptr),
                     "sd_bus_process discard") > 0;
    }

    void request_name(const char* service)
    {
        check(sd_bus_request_name(held.get(), service, 0),
              "sd_bus_request_name");
    }

    message_t new_method_call(const char* service, const char* objpath,
                              const char* interf, const char* method)
    {
        sd_bus_message* m = nullptr;
        check(sd_bus_message_new_method_call(held.get(), &m, service, objpath,
                                             interf, method),
              "sd_bus_message_new_method_call");
        return {m, std::false_type{}};
    }

    message_t new_signal(const char* objpath, const char* interf,
                         const char* member)
    {
        sd_bus_message* m = nullptr;
        check(
            sd_bus_message_new_signal(held.get(), &m, objpath, interf, member),
            "sd_bus_message_new_signal");
        return {m, std::false_type{}};
    }

    /** Sends a call and waits for its reply.
     *
     *  @param timeout_us  in microseconds; 0 is the connection's default
     *  @throw exception::SdBusError  also where the reply is an error
     */
    message_t call(message_t& m, std::uint64_t timeout_us)
    {
        sd_bus_error error = SD_BUS_ERROR_NULL;
        sd_bus_message* reply = nullptr;
        if (sd_bus_call(held.get(), m.get(), timeout_us, &error, &reply) < 0)
        {
            throw exception::SdBusError(&error, "sd_bus_call");
        }
        return {reply, std::false_type{}};
    }

    message_t call(message_t& m,
                   std::optional<SdBusDuration> timeout = std::nullopt)
    {
        return call(m, microseconds(timeout));
    }

    void call_noreply(message_t& m, std::uint64_t timeout_us)
    {
        sd_bus_error error = SD_BUS_ERROR_NULL;
        if (sd_bus_call(held.get(), m.get(), timeout_us, &error, nullptr) < 0)
        {
            throw exception::SdBusError(&error, "sd_bus_call noreply");
        }
    }

    void call_noreply(message_t& m,
                      std::optional<SdBusDuration> timeout = std::nullopt)
    {
        call_noreply(m, microseconds(timeout));
    }

    /** Such as ":1.11".
     *
     *  @throw std::logic_error  the connection was never started
     */
    std::string get_unique_name()
    {
        const char* unique = nullptr;
        sd_bus_get_unique_name(held.get(), &unique);
        if (unique == nullptr)
        {
            throw std::logic_error("the connection has no name");
        }
        return unique;
    }

    int get_fd()
    {
        return sd_bus_get_fd(held.get());
    }

  private:
    static int check(int result, const char* step)
    {
        return message::details::check(result, step);
    }

    static std::uint64_t microseconds(std::optional<SdBusDuration> timeout)
    {
        return timeout ? static_cast<std::uint64_t>(timeout->count()) : 0;
    }

    std::unique_ptr<sd_bus, details::Release> held;

    friend struct bus_access;
};

/** For the parts of this library that hand the connection to sd-bus. */
struct bus_access
{
    static busp_t get(bus& b)
    {
        return b.held.get();
    }
};

namespace details
{

inline bus opened(int (*open)(sd_bus**))
{
    sd_bus* b = nullptr;
    open(&b);
    bus made(b, std::false_type{});
    made.set_should_close(true);
    return made;
}

} // namespace details

/** The thread's default connection: to the system bus for root, else to the
 *  session bus. Null inside where there is none.
 */
inline bus new_default()
{
    sd_bus* b = nullptr;
    sd_bus_default(&b);
    return {b, std::false_type{}};
}

/** A new connection to the session bus; null inside where there is none. */
inline bus new_user()
{
    return details::opened(sd_bus_open_user);
}

/** A new connection to the system bus; null inside where there is none. */
inline bus new_system()
{
    return details::opened(sd_bus_open_system);
}

} // namespace bus

using bus_t = bus::bus;

} // namespace sdbusplus
