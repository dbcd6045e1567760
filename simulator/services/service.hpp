// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "../behaviour.hpp"
#include "../dbus/object.hpp"

#include <nlohmann/json.hpp>

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

    dbus::Connection& connection()
    {
        return bus;
    }

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
    dbus::Connection bus;
    Behaviour behaving = Behaviour::normal;
    std::map<std::string, int> calls;
    std::map<std::string, std::string> lastAsked;
};

} // namespace bmcsim
