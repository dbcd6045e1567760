// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../support/disturbed_call.hpp"
#include "../support/library_test.hpp"
#include "call_site.hpp"

#include <chrono>
#include <future>
#include <optional>

namespace test
{

/** A platform that is healthy except for one method. */
class Platform : public LibraryTest
{
  public:
    /** Starts every service that `site` needs, with `method` in place of that
     * which `site` calls.
     */
    virtual void start(const CallSite& site, Method method);

    /** The same, without the object that `site` calls. */
    void startWithoutObject(const CallSite& site);

    /** The same, with another answer to the call of `site`. */
    void startAnswering(const CallSite& site, Reply reply)
    {
        start(site, {site.path, site.interface, site.member, std::move(reply)});
    }

    void startHealthy(const CallSite& site)
    {
        startAnswering(site, healthy(site));
    }

    void withdraw(const std::string& service)
    {
        services.erase(service);
    }

    /** Does something right before the call of `site` is sent. */
    void beforeCall(const CallSite& site, std::function<void()> action)
    {
        disturbance.emplace(site.member, std::move(action));
    }

    /** The call of `site` is not waited for longer than a moment. */
    void shortenTimeout(const CallSite& site)
    {
        beforeCall(site,
                   [this] { setTimeout(std::chrono::milliseconds(300)); });
    }

    /** sd-bus does not create the call of `site`. */
    void refuseToCreate(const CallSite& site)
    {
        refusal.emplace(site.member);
    }

    /** A reply that is not sent before the operation has ended. */
    Reply tooLate(Reply then);

    /** The caller handles one POSIX signal after another while it waits: until
     *  the operation has ended, or, where a call outlives them, many. */
    Reply interrupting(Reply then);

    /** Since systemd 253 a call goes on where a handled signal interrupts it.
     */
    static constexpr bool callsOutliveSignals = LIBSYSTEMD_VERSION >= 253;

    /** The connection receives this many signals before the reply. */
    Reply afterSignals(int count, Reply then);

    /** Runs the operation of `site`: its result, or its exception. */
    std::string run(const CallSite& site);

    /** The bus refuses the call of `site`; its text is that of
     *  `refusedByTheBus`, without the processes that it names.
     */
    void refuseToSend(const CallSite& site);

    /** From now on the platform does what it is told to, and at once. */
    void endFault();

    /** Both streams and the calls that services got. */
    std::vector<std::string> heard();

    /** Whether the connection still works. */
    bool isConnected();

    void disconnect()
    {
        sd_bus_close(raw.get());
    }

    PrivateBus& theBus()
    {
        return bus;
    }

    const PrivateBus& theBus() const
    {
        return bus;
    }

  protected:
    /** The signals that the daemon can still read: none was lost. */
    int waitingSignals();

  private:
    std::optional<BeforeCall> disturbance;
    std::optional<RefusedCall> refusal;
    void startAll(const CallSite& disturbed, Method instead,
                  const std::string& absentObject);

    bool isRefused = false;
    std::promise<void> ended;
    std::shared_future<void> end{ended.get_future()};
};

constexpr auto refusedByTheBus = "refused by the bus";

} // namespace test
