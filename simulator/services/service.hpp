// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../behaviour.hpp"

#include <nlohmann/json.hpp>
#include <sdbus-c++/sdbus-c++.h>

#include <map>
#include <memory>
#include <string>

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

    /** The connection to be served; not while the service is silent: its
     *  callers' messages wait, as those of a service that hangs.
     */
    sdbus::IConnection* connection()
    {
        return behaving == Behaviour::silent ? nullptr : bus.get();
    }

    /** Behaviour, the calls it got, by member, and what else it tells. */
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

    void count(const std::string& member)
    {
        ++calls[member];
    }

    /** The error that a service answers when told to. */
    [[noreturn]] static void answerError();

    /** Called when the behaviour has changed. */
    virtual void changed() {}

    /** What a service adds to its state. */
    virtual void describe(nlohmann::json&) const {}

  private:
    std::string name;
    std::string busName;
    std::unique_ptr<sdbus::IConnection> bus;
    Behaviour behaving = Behaviour::normal;
    std::map<std::string, int> calls;
};

} // namespace bmcsim
