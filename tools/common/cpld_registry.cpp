// SPDX-License-Identifier: Apache-2.0
#include "cpld_registry.hpp"

#include "methods.hpp"

#include <sdbusplus/message.hpp>
#include <systemd/sd-bus.h>

#include <memory>

namespace cpld
{

namespace
{

/** A container of a message whose types are known; left with the object. */
class Container
{
  public:
    Container(sd_bus_message* message, char type, const char* contents) :
        message(message),
        isEntered(sd_bus_message_enter_container(message, type, contents) > 0)
    {}

    ~Container()
    {
        if (isEntered)
        {
            sd_bus_message_exit_container(message);
        }
    }

    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;

    /** Whether there was one. */
    explicit operator bool() const
    {
        return isEntered;
    }

  private:
    sd_bus_message* message;
    bool isEntered;
};

std::string readText(sd_bus_message* message)
{
    const char* text = nullptr;
    return sd_bus_message_read_basic(message, 's', &text) > 0 ? text : "";
}

Record readRecord(sd_bus_message* message)
{
    const Container members(message, 'r', "ssa{sv}");
    Record record{readText(message), {}};
    readText(message);
    const Container properties(message, 'a', "{sv}");
    while (const Container property{message, 'e', "sv"})
    {
        const auto name = readText(message);
        record.properties.emplace(name, nextValueOf(message));
    }
    return record;
}

} // namespace

Registry readRegistry(sdbusplus::bus_t& bus, sdbusplus::SdBusDuration limit)
{
    auto call = bus.new_method_call(service, managerPath, managerInterface,
                                    "bindedDevices");
    auto reply = bus.call(call, limit);
    const auto& expected = expectedTypesOf("bindedDevices")->out;
    const std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)>
        message(reply.release(), sd_bus_message_unref);
    if (sd_bus_message_get_signature(message.get(), 1) != expected)
    {
        throw AnotherType(
            "the registry is " +
            anotherTypeInWords(nextValueOf(message.get()), expected));
    }
    Registry registry;
    const Container devices(message.get(), 'a', "{s(ssa{sv})}");
    while (const Container device{message.get(), 'e', "s(ssa{sv})"})
    {
        const auto component = readText(message.get());
        registry.emplace(component, readRecord(message.get()));
    }
    return registry;
}

std::optional<std::string> faultOfPath(const std::string& component,
                                       const Record& record)
{
    if (record.objectPath.empty())
    {
        return "the registry tells no object path of " + component;
    }
    if (sd_bus_object_path_is_valid(record.objectPath.c_str()) == 0)
    {
        return "the registry tells '" + record.objectPath +
               "' as the path of " + component +
               ", which is not an object "
               "path";
    }
    return {};
}

} // namespace cpld
