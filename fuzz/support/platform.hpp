// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../../tests/support/scripted_service.hpp"

#include <functional>
#include <map>
#include <string>
#include <thread>

namespace fuzz
{

/** What a service answers; `isSilent` where it never does. */
struct Answer
{
    test::Reply reply;
    bool isSilent = false;
};

/** The answers of all services. The key is the method's name, for "Get" that
 *  of the service; a call without a key has no service.
 */
using Answers = std::map<std::string, Answer>;

/** A connection without a bus: a thread at the other end of a socket pair does
 *  what the bus and all services on it would do. That is a hundred times as
 *  fast as a real bus, and each execution begins anew.
 *
 *  A call that is not answered times out at once.
 */
class Platform
{
  public:
    /** @param note  hears of each call that arrives, from the thread */
    explicit Platform(std::function<void(std::string call)> note);
    ~Platform();

    Platform(const Platform&) = delete;
    Platform& operator=(const Platform&) = delete;

    sd_bus* bus() const
    {
        return client.get();
    }

    /** Waits until the calls sent so far have been noted. */
    void settle() const;

    /** Of all platforms; to be changed between operations only. */
    static Answers answers;

  private:
    static int receive(sd_bus_message* call, void* platform, sd_bus_error*);
    void answer(sd_bus_message* call) const;
    void serve() const;

    std::function<void(std::string call)> note;
    test::Connection server;
    test::Connection client;
    std::thread thread;
};

} // namespace fuzz
