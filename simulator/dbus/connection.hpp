// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "message.hpp"

#include <poll.h>

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>

namespace bmcsim::dbus
{

/** How soon a connection takes up what comes over it. */
enum class Pace
{
    atOnce,
    late,  /**< each call after `slowness` */
    never, /**< as a program that hangs: it waits */
};

/** How late a slow connection is. */
constexpr std::chrono::seconds slowness{2};

/** A connection to a bus. */
class Connection
{
  public:
    /** @throw Error  there is no bus at the address */
    explicit Connection(const std::string& address);

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /** Has the bus give it a name.
     *
     *  @throw std::runtime_error  another connection has it
     */
    void takeName(const std::string& name);
    void releaseName(const std::string& name);

    /** A method call to be filled. */
    Message newCall(const std::string& service, const std::string& path,
                    const std::string& interface,
                    const std::string& member) const;

    /** The answer of a filled call, or what it was answered with.
     *
     *  @throw Error  the error that it was answered with
     */
    Message ask(const Message& call) const;

    /** A broadcast signal to be filled. */
    Message newSignal(const std::string& path, const std::string& interface,
                      const std::string& member) const;

    /** Signals that properties have changed: all of the interface that can
     *  change where none is named.
     */
    void tellChanges(const std::string& path, const std::string& interface,
                     const std::vector<std::string>& properties = {}) const;

    void keep(Pace wanted)
    {
        pace = wanted;
    }

    /** Handles one message, where it is time; false if it is not, or where
     *  none has come. A connection that is lost does nothing.
     */
    bool serve();

    /** What `poll` is to wait for. */
    pollfd watched() const;

    /** When to call `serve` even so, if ever. */
    std::optional<std::chrono::steady_clock::time_point> deadline() const;

    sd_bus* get() const
    {
        return bus.get();
    }

  private:
    struct Close
    {
        // Without a flush, which has no bound.
        void operator()(sd_bus* bus) const
        {
            sd_bus_close_unref(bus);
        }
    };

    /** A call that came while the connection was late. */
    struct Waiting
    {
        Message call;
        std::chrono::steady_clock::time_point until;
    };

    static int heard(sd_bus_message* message, void* connection, sd_bus_error*);
    bool releaseCall();

    /** So that a client that calls without a pause does not fill the memory. */
    bool isFull() const
    {
        constexpr std::size_t most = 1024;
        return waiting.size() >= most;
    }

    std::deque<Waiting> waiting;
    /** The call that has waited and is handled now. */
    Message due{nullptr};
    Pace pace = Pace::atOnce;
    std::unique_ptr<sd_bus, Close> bus;
    bool isLost = false;
};

/** @throw std::runtime_error  always; what to do where a name is taken */
[[noreturn]] void failAsTaken(const std::string& name);

} // namespace bmcsim::dbus
