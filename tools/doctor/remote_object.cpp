// SPDX-License-Identifier: Apache-2.0
#include "remote_object.hpp"

#include "../common/patience.hpp"

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

#include <algorithm>
#include <vector>

void addWrong(Findings& findings, const Need& need, const std::string& what,
              const std::string& advice)
{
    if (need.level == Level::warning)
    {
        findings.warning(what + ": " + need.without, advice);
    }
    else
    {
        findings.failure(what + ": " + need.without, advice);
    }
}

static auto busCall(sdbusplus::bus_t& bus, const char* member)
{
    return bus.new_method_call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                               "org.freedesktop.DBus", member);
}

bool isOnTheBus(Findings& findings, sdbusplus::bus_t& bus,
                const std::string& service, const Need& need)
{
    auto ask = busCall(bus, "NameHasOwner");
    ask.append(service);
    bool owned = false;
    bus.call(ask, patience).read(owned);
    if (owned)
    {
        findings.ok(service + " is on the bus");
        return true;
    }
    auto list = busCall(bus, "ListActivatableNames");
    std::vector<std::string> startable;
    bus.call(list, patience).read(startable);
    if (std::ranges::find(startable, service) != startable.end())
    {
        findings.warning(service + " does not run; the bus starts it when it "
                                   "is called, and until then it cannot be "
                                   "looked at",
                         "start it and run the doctor again");
        return false;
    }
    addWrong(findings, need, service + " is not on the bus",
             "install or start the service");
    findings.notChecked("what " + service +
                        " offers, since it is not on the bus");
    return false;
}

std::optional<OfferedInterface>
offeredBy(Findings& findings, sdbusplus::bus_t& bus, const std::string& service,
          const std::string& path, const std::string& interface,
          const Need& need)
{
    try
    {
        const auto all = introspect(bus, service, path);
        if (!all)
        {
            findings.warning(path + " describes itself in a form that cannot "
                                    "be read, so nothing is known of it",
                             "have the service answer Introspect in XML");
            return {};
        }
        const auto found = all->find(interface);
        if (found == all->end())
        {
            addWrong(findings, need,
                     path + " does not offer the interface " + interface,
                     "install a version of the service that offers it");
            return {};
        }
        return found->second;
    }
    catch (const sdbusplus::exception_t& error)
    {
        const std::string name = error.name();
        if (name == "org.freedesktop.DBus.Error.UnknownMethod" ||
            name == "org.freedesktop.DBus.Error.UnknownInterface")
        {
            findings.warning(path + " does not describe itself, so nothing is "
                                    "known of what it offers",
                             "have the service offer "
                             "org.freedesktop.DBus.Introspectable");
            return {};
        }
        if (name == "org.freedesktop.DBus.Error.UnknownObject")
        {
            addWrong(findings, need, service + " has no object " + path,
                     "install a version of the service that has it");
            return {};
        }
        addWrong(findings, need, path + " does not answer (" + name + ")",
                 "look at what the service logged, and restart it");
        findings.notChecked("what " + path +
                            " offers, since it does not "
                            "answer");
        return {};
    }
}

static std::string inWords(const MethodTypes& types)
{
    return "(" + types.in + ") -> (" + types.out + ")";
}

bool checkMethod(Findings& findings, const OfferedInterface& offered,
                 const std::string& name, const Need& need)
{
    const auto& types = *expectedTypesOf(name);
    const auto found = offered.methods.find(name);
    if (found == offered.methods.end())
    {
        addWrong(findings, need, "there is no method " + name,
                 "install a version of the service that offers " + name +
                     inWords(types));
        return false;
    }
    const auto& has = found->second;
    if (has.in != types.in || has.out != types.out)
    {
        addWrong(findings, need, "the method " + name + " is " + inWords(has),
                 "install a version of the service whose " + name + " is " +
                     inWords(types));
        return false;
    }
    findings.ok(name + inWords(types));
    return true;
}

bool checkProperty(Findings& findings, const OfferedInterface& offered,
                   const std::string& name, const std::string& type,
                   bool writable, const Need& need)
{
    const auto found = offered.properties.find(name);
    if (found == offered.properties.end())
    {
        addWrong(findings, need, "there is no property " + name,
                 "install a version of the service that has it, of type " +
                     type);
        return false;
    }
    const auto& has = found->second;
    if (has.type != type)
    {
        addWrong(
            findings, need, "the property " + name + " is of type " + has.type,
            "install a version of the service that has it of type " + type);
        return false;
    }
    if (writable && has.access != "readwrite" && has.access != "write")
    {
        addWrong(findings, need, "the property " + name + " cannot be written",
                 "install a version of the service where it can");
        return false;
    }
    if (writable)
    {
        findings.ok(name + ", writable, of type " + type);
    }
    return true;
}
