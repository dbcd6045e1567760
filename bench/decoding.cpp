// SPDX-License-Identifier: Apache-2.0
#include "../tests/support/private_bus.hpp"
#include "platform.hpp"
#include "registry.hpp"
#include "rounds.hpp"

#include <memory>
#include <stdexcept>

// Decoding the CPLD registry: sdbusplus's typed read, which the library uses,
// beside plain sd-bus by hand, sdbus-c++ and GDBus, all into the library's
// containers: from a message in memory, and from a service over the bus.

namespace
{

using bench::CpldDeviceMap;

/** A message of plain sd-bus, sealed, on a connection that is not open. */
class Sealed
{
  public:
    explicit Sealed(int devices) : connection(bus.connect())
    {
        sd_bus_message* made = nullptr;
        test::check(sd_bus_message_new_signal(connection.get(), &made, "/a",
                                              "a.b", "C"),
                    "message");
        message.reset(made);
        bench::appendRegistry(made, devices);
        test::check(sd_bus_message_seal(made, 1, 0), "seal");
    }

    sd_bus_message* rewound() const
    {
        test::check(sd_bus_message_rewind(message.get(), 1), "rewind");
        return message.get();
    }

    /** The same as GDBus receives it: the bytes of a message. */
    std::pair<guchar*, gsize> blob() const
    {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("a{s(ssa{sv})}"));
        for (const auto& [name, record] : bench::decode(rewound()))
        {
            GVariantBuilder properties;
            g_variant_builder_init(&properties, G_VARIANT_TYPE("a{sv}"));
            for (const auto& [key, value] : std::get<2>(record))
            {
                g_variant_builder_add(&properties, "{sv}", key.c_str(),
                                      asVariant(value));
            }
            g_variant_builder_add(&builder, "{s(ssa{sv})}", name.c_str(),
                                  std::get<0>(record).c_str(),
                                  std::get<1>(record).c_str(), &properties);
        }
        auto* body = g_variant_builder_end(&builder);
        auto* signal = g_dbus_message_new_signal("/a", "a.b", "C");
        g_dbus_message_set_serial(signal, 1);
        g_dbus_message_set_body(signal, g_variant_new_tuple(&body, 1));
        gsize size = 0;
        auto* bytes = g_dbus_message_to_blob(
            signal, &size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr);
        g_object_unref(signal);
        return {bytes, size};
    }

  private:
    static GVariant* asVariant(const wexa::core::PropertyValue& value)
    {
        switch (value.index())
        {
            case 0:
                return g_variant_new_int32(std::get<0>(value));
            case 1:
                return g_variant_new_int64(std::get<1>(value));
            case 2:
                return g_variant_new_uint32(std::get<2>(value));
            case 3:
                return g_variant_new_uint64(std::get<3>(value));
            case 4:
                return g_variant_new_string(std::get<4>(value).c_str());
            default:
                return g_variant_new_boolean(
                    static_cast<gboolean>(std::get<5>(value)));
        }
    }

    test::PrivateBus bus;
    test::Connection connection;
    std::unique_ptr<sd_bus_message, decltype(&sd_bus_message_unref)> message{
        nullptr, sd_bus_message_unref};
};

CpldDeviceMap decodeBlob(const std::pair<guchar*, gsize>& blob)
{
    auto* received = g_dbus_message_new_from_blob(
        blob.first, blob.second, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr);
    auto* registry =
        g_variant_get_child_value(g_dbus_message_get_body(received), 0);
    auto devices = bench::decode(registry);
    g_variant_unref(registry);
    g_object_unref(received);
    return devices;
}

CpldDeviceMap typedRead(sd_bus_message* message)
{
    CpldDeviceMap devices;
    sdbusplus::message::message(message).read(devices);
    return devices;
}

void decoding(benchmark::State& state)
{
    const auto devices = static_cast<int>(state.range(0));
    const Sealed sealed(devices);
    const auto variants = bench::registryOf(devices);
    const auto blob = sealed.blob();

    const auto expected = typedRead(sealed.rewound());
    const auto check = [&](const CpldDeviceMap& decoded) {
        if (decoded.size() != expected.size())
        {
            throw std::runtime_error("a side decoded something else");
        }
    };
    if (bench::decode(sealed.rewound()) != expected ||
        bench::decode(variants) != expected || decodeBlob(blob) != expected)
    {
        throw std::runtime_error("the sides do not decode the same");
    }

    const auto typed = bench::takeTurns(
        state, {{"typed", [&] { check(typedRead(sealed.rewound())); }},
                {"plain", [&] { check(bench::decode(sealed.rewound())); }},
                {"sdbuscpp", [&] { check(bench::decode(variants)); }},
                {"gdbus", [&] { check(decodeBlob(blob)); }}});
    state.counters["typed_us_per_device"] = typed / devices;
    g_free(blob.first);
}

/** One client of each library, connected to the same bus. */
class Clients
{
  public:
    CpldDeviceMap typed(const std::string& path)
    {
        auto call = wexa::core::newCall(sdbusplusBus,
                                        {service.c_str(), path.c_str(),
                                         interface.c_str(), "bindedDevices"});
        return wexa::core::callFor<CpldDeviceMap>(sdbusplusBus, call);
    }

    CpldDeviceMap plain(const std::string& path)
    {
        sd_bus_message* reply = nullptr;
        test::check(sd_bus_call_method(raw.get(), service.c_str(), path.c_str(),
                                       interface.c_str(), "bindedDevices",
                                       nullptr, &reply, ""),
                    "bindedDevices");
        auto devices = bench::decode(reply);
        sd_bus_message_unref(reply);
        return devices;
    }

    CpldDeviceMap sdbusCpp(const std::string& path)
    {
        const auto proxy = sdbus::createProxy(*sdbusCppBus, service, path);
        auto call = proxy->createMethodCall(interface, "bindedDevices");
        auto reply = proxy->callMethod(call);
        return bench::decode(reply);
    }

    CpldDeviceMap gdbus(const std::string& path)
    {
        auto* reply = g_dbus_connection_call_sync(
            gdbusBus.get(), service.c_str(), path.c_str(), interface.c_str(),
            "bindedDevices", nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1,
            nullptr, nullptr);
        auto* registry = g_variant_get_child_value(reply, 0);
        auto devices = bench::decode(registry);
        g_variant_unref(registry);
        g_variant_unref(reply);
        return devices;
    }

  private:
    const std::string& service = wexa::core::cpldUpdateMgrService;
    const std::string& interface = wexa::core::cpldUpdateMgrInterface;

    test::PrivateBus bus;
    bench::Platform platform{bus.address()};
    test::Connection raw = bus.connect();
    sdbusplus::bus::bus sdbusplusBus{raw.get()};
    std::unique_ptr<sdbus::IConnection> sdbusCppBus =
        sdbus::createSessionBusConnectionWithAddress(bus.address());
    std::unique_ptr<GDBusConnection, decltype(&g_object_unref)> gdbusBus{
        g_dbus_connection_new_for_address_sync(
            bus.address().c_str(),
            static_cast<GDBusConnectionFlags>(
                G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr),
        g_object_unref};
};

void callAndDecoding(benchmark::State& state)
{
    const auto devices = static_cast<std::size_t>(state.range(0));
    const auto path = "/registry/" + std::to_string(devices);
    static Clients clients;
    const auto check = [&](const CpldDeviceMap& decoded) {
        if (decoded.size() != devices)
        {
            throw std::runtime_error("a side decoded something else");
        }
    };
    bench::takeTurns(state,
                     {{"typed", [&] { check(clients.typed(path)); }},
                      {"plain", [&] { check(clients.plain(path)); }},
                      {"sdbuscpp", [&] { check(clients.sdbusCpp(path)); }},
                      {"gdbus", [&] { check(clients.gdbus(path)); }}});
}

BENCHMARK(callAndDecoding)
    ->Name("call and decoding")
    ->Arg(8)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(5000);
BENCHMARK(decoding)->Arg(8)->Arg(100)->Arg(1000)->Arg(5000);

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    bench::pinToOneCpu();
    benchmark::RunSpecifiedBenchmarks();
}
