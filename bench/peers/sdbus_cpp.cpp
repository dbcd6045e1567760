// SPDX-License-Identifier: Apache-2.0
#include "peer.hpp"

#include <sdbus-c++/sdbus-c++.h>

#include <map>

namespace bench
{

namespace
{

using Properties = std::map<std::string, sdbus::Variant>;
using Devices =
    std::map<std::string, sdbus::Struct<std::string, std::string, Properties>>;

wexa::core::PropertyValue valueOf(const sdbus::Variant& variant)
{
    const auto type = variant.peekValueType();
    switch (type.size() == 1 ? type.front() : '\0')
    {
        case 'i':
            return variant.get<std::int32_t>();
        case 'x':
            return variant.get<std::int64_t>();
        case 'u':
            return variant.get<std::uint32_t>();
        case 't':
            return variant.get<std::uint64_t>();
        case 's':
            return variant.get<std::string>();
        case 'b':
            return variant.get<bool>();
        default:
            return {};
    }
}

PropertyMap mapOf(const Properties& properties)
{
    PropertyMap map;
    for (const auto& [name, value] : properties)
    {
        map.emplace(name, valueOf(value));
    }
    return map;
}

class SdbusCpp : public Peer
{
  public:
    explicit SdbusCpp(const std::string& busAddress) :
        bus(sdbus::createSessionBusConnectionWithAddress(busAddress))
    {}

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
        return get(property).get<std::uint16_t>();
    }

    std::string getText(const RemoteMethod& property) override
    {
        return get(property).get<std::string>();
    }

    void setText(const RemoteMethod& property, const char* value) override
    {
        send({property.service, property.path, propertiesInterface, "Set"},
             property.interface, property.member,
             sdbus::Variant(std::string(value)));
    }

    void start(const char* unit) override
    {
        send(startUnit, unit, "replace");
    }

    PropertyMap properties(const RemoteMethod& method,
                           const char* image) override
    {
        return mapOf(ask<Properties>(method, image));
    }

    CpldDeviceMap devices() override
    {
        CpldDeviceMap map;
        for (const auto& [name, record] : ask<Devices>(boundDevices()))
        {
            map.emplace(name, wexa::core::CpldDeviceRecord(
                                  std::get<0>(record), std::get<1>(record),
                                  mapOf(std::get<2>(record))));
        }
        return map;
    }

  private:
    /** Proxies are made once, as its users do. */
    sdbus::IProxy& proxy(const RemoteMethod& method)
    {
        auto& made = proxies[{method.service, method.path}];
        if (!made)
        {
            made = sdbus::createProxy(*bus, method.service, method.path);
        }
        return *made;
    }

    template <typename... Arguments>
    sdbus::MethodReply send(const RemoteMethod& method,
                            const Arguments&... arguments)
    {
        auto& object = proxy(method);
        auto call = object.createMethodCall(method.interface, method.member);
        ((call << arguments), ...);
        return object.callMethod(call);
    }

    template <typename Value, typename... Arguments>
    Value ask(const RemoteMethod& method, const Arguments&... arguments)
    {
        Value value{};
        auto reply = send(method, arguments...);
        reply >> value;
        return value;
    }

    sdbus::Variant get(const RemoteMethod& property)
    {
        return ask<sdbus::Variant>(
            {property.service, property.path, propertiesInterface, "Get"},
            property.interface, property.member);
    }

    std::unique_ptr<sdbus::IConnection> bus;
    std::map<std::pair<std::string, std::string>,
             std::unique_ptr<sdbus::IProxy>>
        proxies;
};

} // namespace

std::unique_ptr<Peer> sdbusCpp(const std::string& busAddress)
{
    return std::make_unique<SdbusCpp>(busAddress);
}

} // namespace bench
