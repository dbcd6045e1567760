// SPDX-License-Identifier: Apache-2.0
#include "peer.hpp"

#include <dbus/dbus.h>

#include <stdexcept>

namespace bench
{

namespace
{

struct Unref
{
    void operator()(DBusMessage* message) const
    {
        dbus_message_unref(message);
    }

    void operator()(DBusConnection* connection) const
    {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
};

using Message = std::unique_ptr<DBusMessage, Unref>;

/** Where libdbus reports an error; it leaves as an exception. */
class Failure
{
  public:
    Failure()
    {
        dbus_error_init(&error);
    }

    ~Failure()
    {
        dbus_error_free(&error);
    }

    Failure(const Failure&) = delete;
    Failure& operator=(const Failure&) = delete;

    operator DBusError*()
    {
        return &error;
    }

    void raise() const
    {
        if (dbus_error_is_set(&error) != FALSE)
        {
            throw std::runtime_error(error.message);
        }
    }

  private:
    DBusError error;
};

/** Reads values in order. */
class Reader
{
  public:
    explicit Reader(const Message& message)
    {
        dbus_message_iter_init(message.get(), &iterator);
    }

    /** What is inside of the next value, a container, which is passed. */
    Reader inside()
    {
        Reader inner;
        dbus_message_iter_recurse(&iterator, &inner.iterator);
        dbus_message_iter_next(&iterator);
        return inner;
    }

    int type()
    {
        return dbus_message_iter_get_arg_type(&iterator);
    }

    bool atEnd()
    {
        return type() == DBUS_TYPE_INVALID;
    }

    template <typename Value>
    Value basic(int expected)
    {
        if (type() != expected)
        {
            throw std::runtime_error("a reply of another type");
        }
        Value value{};
        dbus_message_iter_get_basic(&iterator, &value);
        dbus_message_iter_next(&iterator);
        return value;
    }

    const char* text()
    {
        return basic<const char*>(DBUS_TYPE_STRING);
    }

    bool boolean()
    {
        return basic<dbus_bool_t>(DBUS_TYPE_BOOLEAN) != FALSE;
    }

    wexa::core::PropertyValue property()
    {
        auto value = inside();
        switch (const auto type = value.type(); type)
        {
            case DBUS_TYPE_INT32:
                return value.basic<std::int32_t>(type);
            case DBUS_TYPE_INT64:
                return value.basic<std::int64_t>(type);
            case DBUS_TYPE_UINT32:
                return value.basic<std::uint32_t>(type);
            case DBUS_TYPE_UINT64:
                return value.basic<std::uint64_t>(type);
            case DBUS_TYPE_STRING:
                return value.text();
            case DBUS_TYPE_BOOLEAN:
                return value.boolean();
            default:
                return {};
        }
    }

    PropertyMap properties()
    {
        PropertyMap map;
        auto entries = inside();
        while (!entries.atEnd())
        {
            auto entry = entries.inside();
            const auto* const name = entry.text();
            map.emplace(name, entry.property());
        }
        return map;
    }

    CpldDeviceMap devices()
    {
        CpldDeviceMap map;
        auto entries = inside();
        while (!entries.atEnd())
        {
            auto entry = entries.inside();
            const auto* const name = entry.text();
            auto record = entry.inside();
            const auto* const path = record.text();
            const auto* const driver = record.text();
            map.emplace(name, wexa::core::CpldDeviceRecord(
                                  path, driver, record.properties()));
        }
        return map;
    }

  private:
    Reader() = default;

    DBusMessageIter iterator;
};

class Libdbus : public Peer
{
  public:
    explicit Libdbus(const std::string& busAddress)
    {
        Failure failure;
        bus.reset(dbus_connection_open_private(busAddress.c_str(), failure));
        failure.raise();
        dbus_bus_register(bus.get(), failure);
        failure.raise();
        dbus_connection_set_exit_on_disconnect(bus.get(), FALSE);
    }

    bool judge(const RemoteMethod& method, const char* image) override
    {
        const auto reply = call(method, image);
        return Reader(reply).boolean();
    }

    std::string text(const RemoteMethod& method) override
    {
        const auto reply = call(method);
        return Reader(reply).text();
    }

    std::uint16_t getNumber(const RemoteMethod& property) override
    {
        const auto reply = get(property);
        return Reader(reply).inside().basic<std::uint16_t>(DBUS_TYPE_UINT16);
    }

    std::string getText(const RemoteMethod& property) override
    {
        const auto reply = get(property);
        return Reader(reply).inside().text();
    }

    void setText(const RemoteMethod& property, const char* value) override
    {
        const auto message = newCall(
            {property.service, property.path, propertiesInterface, "Set"},
            property.interface, property.member);
        DBusMessageIter end;
        DBusMessageIter variant;
        dbus_message_iter_init_append(message.get(), &end);
        dbus_message_iter_open_container(&end, DBUS_TYPE_VARIANT, "s",
                                         &variant);
        dbus_message_iter_append_basic(&variant, DBUS_TYPE_STRING, &value);
        dbus_message_iter_close_container(&end, &variant);
        send(message);
    }

    void start(const char* unit) override
    {
        call(startUnit, unit, "replace");
    }

    PropertyMap properties(const RemoteMethod& method,
                           const char* image) override
    {
        const auto reply = call(method, image);
        return Reader(reply).properties();
    }

    CpldDeviceMap devices() override
    {
        const auto reply = call(boundDevices());
        return Reader(reply).devices();
    }

  private:
    template <typename... Texts>
    static Message newCall(const RemoteMethod& method, Texts... texts)
    {
        Message message{dbus_message_new_method_call(
            method.service, method.path, method.interface, method.member)};
        (dbus_message_append_args(message.get(), DBUS_TYPE_STRING, &texts,
                                  DBUS_TYPE_INVALID),
         ...);
        return message;
    }

    Message send(const Message& message)
    {
        Failure failure;
        Message reply{dbus_connection_send_with_reply_and_block(
            bus.get(), message.get(), DBUS_TIMEOUT_USE_DEFAULT, failure)};
        failure.raise();
        return reply;
    }

    template <typename... Texts>
    Message call(const RemoteMethod& method, Texts... texts)
    {
        return send(newCall(method, texts...));
    }

    Message get(const RemoteMethod& property)
    {
        return call(
            {property.service, property.path, propertiesInterface, "Get"},
            property.interface, property.member);
    }

    std::unique_ptr<DBusConnection, Unref> bus;
};

} // namespace

std::unique_ptr<Peer> libdbus(const std::string& busAddress)
{
    return std::make_unique<Libdbus>(busAddress);
}

} // namespace bench
