// SPDX-License-Identifier: Apache-2.0
#include "../../tests/support/private_bus.hpp"
#include "peer.hpp"

#include <string_view>

namespace bench
{

using test::check;
using wexa::core::PropertyValue;

namespace
{

/** A reply, read by hand as a program in C would. */
class Reply
{
  public:
    template <typename... Arguments>
    Reply(sd_bus* bus, const RemoteMethod& method, const char* signature,
          Arguments... arguments)
    {
        check(sd_bus_call_method(bus, method.service, method.path,
                                 method.interface, method.member, nullptr,
                                 &message, signature, arguments...),
              method.member);
    }

    ~Reply()
    {
        sd_bus_message_unref(message);
    }

    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;

    template <typename Value>
    Value basic(char type)
    {
        Value value{};
        check(sd_bus_message_read_basic(message, type, &value), "read");
        return value;
    }

    const char* text()
    {
        return basic<const char*>('s');
    }

    bool boolean()
    {
        return basic<int>('b') != 0;
    }

    bool enter(char type, const char* contents)
    {
        return check(sd_bus_message_enter_container(message, type, contents),
                     "enter") > 0;
    }

    void leave()
    {
        check(sd_bus_message_exit_container(message), "leave");
    }

    PropertyValue property()
    {
        const char* contents = nullptr;
        check(sd_bus_message_peek_type(message, nullptr, &contents), "peek");
        const auto type = contents[1] == '\0' ? contents[0] : '\0';
        if (std::string_view("ixutsb").find(type) == std::string_view::npos)
        {
            check(sd_bus_message_skip(message, "v"), "skip");
            return {};
        }
        enter('v', contents);
        auto value = valueOf(type);
        leave();
        return value;
    }

    PropertyMap properties()
    {
        PropertyMap map;
        enter('a', "{sv}");
        while (enter('e', "sv"))
        {
            const auto* const name = text();
            map.emplace(name, property());
            leave();
        }
        leave();
        return map;
    }

    CpldDeviceMap devices()
    {
        CpldDeviceMap map;
        enter('a', "{s(ssa{sv})}");
        while (enter('e', "s(ssa{sv})"))
        {
            const auto* const name = text();
            enter('r', "ssa{sv}");
            const auto* const path = text();
            const auto* const driver = text();
            map.emplace(
                name, wexa::core::CpldDeviceRecord(path, driver, properties()));
            leave();
            leave();
        }
        leave();
        return map;
    }

  private:
    PropertyValue valueOf(char type)
    {
        switch (type)
        {
            case 'i':
                return basic<std::int32_t>(type);
            case 'x':
                return basic<std::int64_t>(type);
            case 'u':
                return basic<std::uint32_t>(type);
            case 't':
                return basic<std::uint64_t>(type);
            case 's':
                return text();
            default:
                return boolean();
        }
    }

    sd_bus_message* message = nullptr;
};

class PlainSdBus : public Peer
{
  public:
    explicit PlainSdBus(sd_bus* bus) : bus(bus) {}

    bool judge(const RemoteMethod& method, const char* image) override
    {
        return Reply(bus, method, "s", image).boolean();
    }

    std::string text(const RemoteMethod& method) override
    {
        return Reply(bus, method, "").text();
    }

    std::uint16_t getNumber(const RemoteMethod& property) override
    {
        auto reply = get(property);
        reply.enter('v', "q");
        return reply.basic<std::uint16_t>('q');
    }

    std::string getText(const RemoteMethod& property) override
    {
        auto reply = get(property);
        reply.enter('v', "s");
        return reply.text();
    }

    void setText(const RemoteMethod& property, const char* value) override
    {
        Reply(bus,
              {property.service, property.path, propertiesInterface, "Set"},
              "ssv", property.interface, property.member, "s", value);
    }

    void start(const char* unit) override
    {
        Reply(bus, startUnit, "ss", unit, "replace");
    }

    PropertyMap properties(const RemoteMethod& method,
                           const char* image) override
    {
        return Reply(bus, method, "s", image).properties();
    }

    CpldDeviceMap devices() override
    {
        return Reply(bus, boundDevices(), "").devices();
    }

  private:
    Reply get(const RemoteMethod& property)
    {
        return {bus,
                {property.service, property.path, propertiesInterface, "Get"},
                "ss",
                property.interface,
                property.member};
    }

    sd_bus* bus;
};

} // namespace

std::unique_ptr<Peer> plainSdBus(sd_bus* bus)
{
    return std::make_unique<PlainSdBus>(bus);
}

} // namespace bench
