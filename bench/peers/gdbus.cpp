// SPDX-License-Identifier: Apache-2.0
#include "peer.hpp"

#include <gio/gio.h>

#include <stdexcept>

namespace bench
{

namespace
{

struct Unref
{
    void operator()(GVariant* variant) const
    {
        g_variant_unref(variant);
    }

    void operator()(GDBusConnection* connection) const
    {
        g_object_unref(connection);
    }
};

using Variant = std::unique_ptr<GVariant, Unref>;

/** Where GIO reports an error; it leaves as an exception. */
class Failure
{
  public:
    ~Failure()
    {
        g_clear_error(&error);
    }

    Failure() = default;
    Failure(const Failure&) = delete;
    Failure& operator=(const Failure&) = delete;

    operator GError**()
    {
        return &error;
    }

    void raise() const
    {
        if (error != nullptr)
        {
            throw std::runtime_error(error->message);
        }
    }

  private:
    GError* error = nullptr;
};

wexa::core::PropertyValue valueOf(GVariant* value)
{
    switch (g_variant_classify(value))
    {
        case G_VARIANT_CLASS_INT32:
            return g_variant_get_int32(value);
        case G_VARIANT_CLASS_INT64:
            return std::int64_t{g_variant_get_int64(value)};
        case G_VARIANT_CLASS_UINT32:
            return g_variant_get_uint32(value);
        case G_VARIANT_CLASS_UINT64:
            return std::uint64_t{g_variant_get_uint64(value)};
        case G_VARIANT_CLASS_STRING:
            return std::string(g_variant_get_string(value, nullptr));
        case G_VARIANT_CLASS_BOOLEAN:
            return g_variant_get_boolean(value) != FALSE;
        default:
            return {};
    }
}

/** Reads to the end, which frees the last `value`. */
PropertyMap mapOf(GVariantIter& iterator)
{
    PropertyMap map;
    const char* key = nullptr;
    GVariant* value = nullptr;
    while (g_variant_iter_loop(&iterator, "{&sv}", &key, &value) != FALSE)
    {
        map.emplace(key, valueOf(value));
    }
    return map;
}

class Gdbus : public Peer
{
  public:
    explicit Gdbus(const std::string& busAddress)
    {
        Failure failure;
        bus.reset(g_dbus_connection_new_for_address_sync(
            busAddress.c_str(),
            static_cast<GDBusConnectionFlags>(
                G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, failure));
        failure.raise();
    }

    bool judge(const RemoteMethod& method, const char* image) override
    {
        const auto reply = call(method, g_variant_new("(s)", image));
        const auto value = child(reply);
        return g_variant_get_boolean(value.get()) != FALSE;
    }

    std::string text(const RemoteMethod& method) override
    {
        const auto reply = call(method, nullptr);
        return g_variant_get_string(child(reply).get(), nullptr);
    }

    std::uint16_t getNumber(const RemoteMethod& property) override
    {
        return g_variant_get_uint16(get(property).get());
    }

    std::string getText(const RemoteMethod& property) override
    {
        return g_variant_get_string(get(property).get(), nullptr);
    }

    void setText(const RemoteMethod& property, const char* value) override
    {
        call({property.service, property.path, propertiesInterface, "Set"},
             g_variant_new("(ssv)", property.interface, property.member,
                           g_variant_new_string(value)));
    }

    void start(const char* unit) override
    {
        call(startUnit, g_variant_new("(ss)", unit, "replace"));
    }

    PropertyMap properties(const RemoteMethod& method,
                           const char* image) override
    {
        const auto reply = call(method, g_variant_new("(s)", image));
        const auto dictionary = child(reply);
        GVariantIter iterator;
        g_variant_iter_init(&iterator, dictionary.get());
        return mapOf(iterator);
    }

    CpldDeviceMap devices() override
    {
        const auto reply = call(boundDevices(), nullptr);
        const auto dictionary = child(reply);
        GVariantIter iterator;
        g_variant_iter_init(&iterator, dictionary.get());

        CpldDeviceMap map;
        const char* name = nullptr;
        const char* path = nullptr;
        const char* driver = nullptr;
        GVariantIter* properties = nullptr;
        while (g_variant_iter_loop(&iterator, "{&s(&s&sa{sv})}", &name, &path,
                                   &driver, &properties) != FALSE)
        {
            map.emplace(name, wexa::core::CpldDeviceRecord(path, driver,
                                                           mapOf(*properties)));
        }
        return map;
    }

  private:
    Variant call(const RemoteMethod& method, GVariant* arguments)
    {
        Failure failure;
        Variant reply{g_dbus_connection_call_sync(
            bus.get(), method.service, method.path, method.interface,
            method.member, arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
            nullptr, failure)};
        failure.raise();
        return reply;
    }

    static Variant child(const Variant& tuple)
    {
        return Variant{g_variant_get_child_value(tuple.get(), 0)};
    }

    Variant get(const RemoteMethod& property)
    {
        const auto reply =
            call({property.service, property.path, propertiesInterface, "Get"},
                 g_variant_new("(ss)", property.interface, property.member));
        return Variant{g_variant_get_variant(child(reply).get())};
    }

    std::unique_ptr<GDBusConnection, Unref> bus;
};

} // namespace

std::unique_ptr<Peer> gdbus(const std::string& busAddress)
{
    return std::make_unique<Gdbus>(busAddress);
}

} // namespace bench
