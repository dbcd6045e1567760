// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../behaviour.hpp"

#include <nlohmann/json.hpp>
#include <sdbus-c++/sdbus-c++.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace bmcsim
{

/** One service of the simulated platform, on a connection of its own. */
class Service
{
  public:
    /** @param label    what the simulator's users call it
     *  @param busName  what the bus calls it
     */
    Service(std::string label, std::string busName,
            const std::string& busAddress);
    virtual ~Service() = default;

    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /** In force when it returns. */
    void behave(Behaviour behaviour);

    const std::string& label() const
    {
        return name;
    }

    /** The connection to be served now; not while the service is silent: its
     *  callers' messages wait, as those of a service that hangs. While it is
     *  slow `wake` serves it.
     */
    sdbus::IConnection* connection();

    /** Answers, while it is slow, what has waited for long enough. */
    void wake();

    /** When to look again, while it is slow. */
    std::optional<std::chrono::steady_clock::time_point> deadline() const;

    /** The values that can be changed besides the behaviour. */
    virtual std::vector<std::string> settings() const
    {
        return {};
    }

    /** @param name   one of `settings`
     *  @throw std::invalid_argument  it cannot be this; says what it can
     */
    virtual void set(const std::string& name, const std::string& value);

    /** Behaviour, the calls it got, by member, what was asked last, and the
     *  values it holds.
     */
    nlohmann::json state() const;

  protected:
    Behaviour behaviour() const
    {
        return behaving;
    }

    sdbus::IConnection& ownConnection()
    {
        return *bus;
    }

    /** Remembers a call.
     *
     *  @param asked  what it was called with, in words; may be empty
     */
    void count(const std::string& member, const std::string& asked = "");

    /** Answers an error where the service was told to refuse or to fail. */
    void answerErrorIfTold() const;

    /** Called when the behaviour has changed. */
    virtual void changed() {}

    /** The values that a service holds, by name. */
    virtual std::map<std::string, std::string> values() const
    {
        return {};
    }

  private:
    std::string name;
    std::string busName;
    std::unique_ptr<sdbus::IConnection> bus;
    Behaviour behaving = Behaviour::normal;
    /** When the message that waits was first seen, while it is slow. */
    std::optional<std::chrono::steady_clock::time_point> waitingSince;
    std::map<std::string, int> calls;
    std::map<std::string, std::string> lastAsked;
};

} // namespace bmcsim
