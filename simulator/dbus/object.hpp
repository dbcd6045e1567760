// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "connection.hpp"

#include <functional>
#include <list>

namespace bmcsim::dbus
{

/** Whether, and how, a change of a property is signalled. */
enum class Changes
{
    told,
    withoutValue,
    untold,
    never, /**< it does not change */
};

/** The members of an interface. Each is asked of a subject, whose type the
 *  class below knows.
 */
class Members
{
  public:
    using Answer = std::function<void(void*, Call&)>;
    using Access = std::function<void(void*, sd_bus_message*)>;

    struct Method
    {
        std::string name;
        std::string in;
        std::string out;
        Answer answer;
    };

    struct Property
    {
        std::string name;
        std::string type;
        Changes changes;
        Access get;
        /** Empty where clients may not set it. */
        Access set;
    };

    struct Signal
    {
        std::string name;
        std::string types;
    };

    explicit Members(std::string interface) : name(std::move(interface)) {}

    const std::string& interface() const
    {
        return name;
    }

    /** What sd-bus takes; points into this. */
    std::vector<sd_bus_vtable> table() const;

    // Lists, since what sd-bus has of them must stay where it is.
    std::list<Method> methods;
    std::list<Property> properties;
    std::list<Signal> signals;

  private:
    std::string name;
};

/** An interface whose members are functions of a subject. What such a function
 *  throws is answered as an error: an `Error` by its name, others as
 *  org.freedesktop.DBus.Error.Failed.
 */
template <typename Subject>
class Interface : public Members
{
  public:
    using Members::Members;

    /** @param in, out  the types of the arguments and of the answer
     *  @param answer   takes the subject and the call, which it may answer
     */
    template <typename Function>
    void method(std::string member, std::string in, std::string out,
                Function answer)
    {
        methods.push_back({std::move(member), std::move(in), std::move(out),
                           [answer](void* subject, Call& call) {
                               answer(*static_cast<Subject*>(subject), call);
                           }});
    }

    /** @param get  takes the subject and returns the value; its type is that
     *              of the property
     */
    template <typename Get>
    void property(std::string member, Changes changes, Get get)
    {
        using Value = std::decay_t<decltype(get(std::declval<Subject&>()))>;
        properties.push_back(
            {std::move(member),
             typeOf<Value>(),
             changes,
             [get](void* subject, sd_bus_message* message) {
                 append<Value>(message, get(*static_cast<Subject*>(subject)));
             },
             {}});
    }

    /** @param set  takes the subject and the value that a client has set */
    template <typename Get, typename Set>
    void property(std::string member, Changes changes, Get get, Set set)
    {
        using Value = std::decay_t<decltype(get(std::declval<Subject&>()))>;
        property(std::move(member), changes, get);
        properties.back().set = [set](void* subject, sd_bus_message* message) {
            set(*static_cast<Subject*>(subject), read<Value>(message));
        };
    }

    void signal(std::string member, std::string types)
    {
        signals.push_back({std::move(member), std::move(types)});
    }
};

/** One interface of an object, or of all objects below a path, on the bus as
 *  long as it lives.
 */
class Offer
{
  public:
    /** The subject that an object path stands for; null for no object. */
    using Find = std::function<void*(const std::string& path)>;

    /** An object of its own. The subject outlives the offer. */
    template <typename Subject>
    Offer(const Connection& connection, const std::string& path,
          Interface<Subject> interface, Subject& subject) :
        Offer(connection, path, std::move(interface), Find(), &subject)
    {}

    /** All objects below a path that `find` finds. */
    template <typename Subject>
    Offer(const Connection& connection, const std::string& path,
          Interface<Subject> interface,
          std::function<Subject*(const std::string&)> find) :
        Offer(connection, path, std::move(interface), Find(std::move(find)),
              nullptr)
    {}

    struct State;

  private:
    Offer(const Connection& connection, const std::string& path,
          Members members, Find find, void* subject);

    struct Delete
    {
        void operator()(State* state) const;
    };

    std::unique_ptr<State, Delete> state;
};

} // namespace bmcsim::dbus
