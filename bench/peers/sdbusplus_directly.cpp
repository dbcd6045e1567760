// SPDX-License-Identifier: Apache-2.0
#include "peer.hpp"

#include <variant>

namespace bench
{

namespace
{

class SdbusplusDirectly : public Peer
{
  public:
    explicit SdbusplusDirectly(sd_bus* connection) : bus(connection) {}

    bool judge(const RemoteMethod& method, const char* image) override
    {
        return ask<bool>(method, image);
    }

    std::string text(const RemoteMethod& method) override
    {
        return ask<std::string>(method);
    }

    std::uint16_t getNumber(const RemoteMethod& property) override
    {
        return get<std::uint16_t>(property);
    }

    std::string getText(const RemoteMethod& property) override
    {
        return get<std::string>(property);
    }

    void setText(const RemoteMethod& property, const char* value) override
    {
        send({property.service, property.path, propertiesInterface, "Set"},
             property.interface, property.member,
             std::variant<std::string>(value));
    }

    void start(const char* unit) override
    {
        send(startUnit, unit, "replace");
    }

    PropertyMap properties(const RemoteMethod& method,
                           const char* image) override
    {
        return ask<PropertyMap>(method, image);
    }

    CpldDeviceMap devices() override
    {
        return ask<CpldDeviceMap>(boundDevices());
    }

  private:
    template <typename... Arguments>
    sdbusplus::message_t send(const RemoteMethod& method,
                              const Arguments&... arguments)
    {
        auto call = bus.new_method_call(method.service, method.path,
                                        method.interface, method.member);
        call.append(arguments...);
        return bus.call(call);
    }

    template <typename Value, typename... Arguments>
    Value ask(const RemoteMethod& method, const Arguments&... arguments)
    {
        Value value{};
        send(method, arguments...).read(value);
        return value;
    }

    template <typename Value>
    Value get(const RemoteMethod& property)
    {
        return std::get<Value>(ask<std::variant<Value>>(
            {property.service, property.path, propertiesInterface, "Get"},
            property.interface, property.member));
    }

    sdbusplus::bus_t bus;
};

} // namespace

std::unique_ptr<Peer> sdbusplusDirectly(sd_bus* bus)
{
    return std::make_unique<SdbusplusDirectly>(bus);
}

} // namespace bench
