// SPDX-License-Identifier: Apache-2.0
#include "registry.hpp"

#include "../tests/support/private_bus.hpp"

namespace bench
{

using test::check;
using wexa::core::PropertyMap;
using wexa::core::PropertyValue;

static std::string component(int number)
{
    return "CPLD_" + std::to_string(number);
}

static std::string devicePath(int number)
{
    return "/xyz/openbmc_project/cpld_update_mgr/" + component(number);
}

void appendRegistry(sd_bus_message* message, int devices)
{
    check(sd_bus_message_open_container(message, 'a', "{s(ssa{sv})}"), "open");
    for (auto number = 0; number < devices; ++number)
    {
        check(sd_bus_message_append(
                  message, "{s(ssa{sv})}", component(number).c_str(),
                  devicePath(number).c_str(), "jtag", 8, "vendor", "s", "WEXA",
                  "deviceId", "u", number, "flashBytes", "t",
                  std::uint64_t{8} << 20, "temperatureLimit", "i", 85, "madeAt",
                  "x", std::int64_t{1710460800}, "removable", "b", 0,
                  "supplyVolts", "d", 3.3, "version", "s", "1.0.3"),
              "append");
    }
    check(sd_bus_message_close_container(message), "close");
}

/** The reply's type as sdbus-c++ has it. */
using VariantRegistry =
    std::map<std::string, sdbus::Struct<std::string, std::string,
                                        std::map<std::string, sdbus::Variant>>>;

sdbus::Variant registryOf(int devices)
{
    VariantRegistry registry;
    for (auto number = 0; number < devices; ++number)
    {
        registry[component(number)] = {
            devicePath(number),
            "jtag",
            {{"vendor", sdbus::Variant(std::string("WEXA"))},
             {"deviceId", sdbus::Variant(static_cast<std::uint32_t>(number))},
             {"flashBytes", sdbus::Variant(std::uint64_t{8} << 20)},
             {"temperatureLimit", sdbus::Variant(std::int32_t{85})},
             {"madeAt", sdbus::Variant(std::int64_t{1710460800})},
             {"removable", sdbus::Variant(false)},
             {"supplyVolts", sdbus::Variant(3.3)},
             {"version", sdbus::Variant(std::string("1.0.3"))}}};
    }
    return sdbus::Variant(registry);
}

static const char* text(sd_bus_message* message)
{
    const char* value = nullptr;
    check(sd_bus_message_read_basic(message, 's', &value), "text");
    return value;
}

template <typename Value>
static PropertyValue number(sd_bus_message* message, char type)
{
    Value value{};
    check(sd_bus_message_read_basic(message, type, &value), "number");
    return value;
}

static PropertyValue property(sd_bus_message* message)
{
    const char* contents = nullptr;
    check(sd_bus_message_peek_type(message, nullptr, &contents), "peek");
    const auto type = contents[1] == '\0' ? contents[0] : '\0';
    if (std::string_view("ixutsb").find(type) == std::string_view::npos)
    {
        check(sd_bus_message_skip(message, "v"), "skip");
        return {};
    }
    check(sd_bus_message_enter_container(message, 'v', contents), "enter");
    PropertyValue value;
    switch (type)
    {
        case 'i':
            value = number<std::int32_t>(message, type);
            break;
        case 'x':
            value = number<std::int64_t>(message, type);
            break;
        case 'u':
            value = number<std::uint32_t>(message, type);
            break;
        case 't':
            value = number<std::uint64_t>(message, type);
            break;
        case 's':
            value = text(message);
            break;
        default:
            value = std::get<std::int32_t>(
                        number<std::int32_t>(message, type)) != 0;
            break;
    }
    check(sd_bus_message_exit_container(message), "exit");
    return value;
}

static PropertyMap properties(sd_bus_message* message)
{
    PropertyMap map;
    check(sd_bus_message_enter_container(message, 'a', "{sv}"), "enter");
    while (check(sd_bus_message_enter_container(message, 'e', "sv"), "enter") >
           0)
    {
        const auto* const name = text(message);
        map.emplace(name, property(message));
        check(sd_bus_message_exit_container(message), "exit");
    }
    check(sd_bus_message_exit_container(message), "exit");
    return map;
}

CpldDeviceMap decode(sd_bus_message* message)
{
    CpldDeviceMap devices;
    check(sd_bus_message_enter_container(message, 'a', "{s(ssa{sv})}"),
          "enter");
    while (check(sd_bus_message_enter_container(message, 'e', "s(ssa{sv})"),
                 "enter") > 0)
    {
        const auto* const name = text(message);
        check(sd_bus_message_enter_container(message, 'r', "ssa{sv}"), "enter");
        const auto* const path = text(message);
        const auto* const driver = text(message);
        devices.emplace(name, wexa::core::CpldDeviceRecord(
                                  path, driver, properties(message)));
        check(sd_bus_message_exit_container(message), "exit");
        check(sd_bus_message_exit_container(message), "exit");
    }
    check(sd_bus_message_exit_container(message), "exit");
    return devices;
}

static PropertyValue property(const sdbus::Variant& variant)
{
    const auto type = variant.peekValueType();
    if (type == "i")
    {
        return variant.get<std::int32_t>();
    }
    if (type == "x")
    {
        return variant.get<std::int64_t>();
    }
    if (type == "u")
    {
        return variant.get<std::uint32_t>();
    }
    if (type == "t")
    {
        return variant.get<std::uint64_t>();
    }
    if (type == "s")
    {
        return variant.get<std::string>();
    }
    if (type == "b")
    {
        return variant.get<bool>();
    }
    return {};
}

static CpldDeviceMap moved(VariantRegistry registry)
{
    CpldDeviceMap devices;
    for (auto& [name, record] : registry)
    {
        PropertyMap map;
        for (const auto& [key, value] : std::get<2>(record))
        {
            map.emplace(key, property(value));
        }
        devices.emplace(
            name, wexa::core::CpldDeviceRecord(std::move(std::get<0>(record)),
                                               std::move(std::get<1>(record)),
                                               std::move(map)));
    }
    return devices;
}

CpldDeviceMap decode(const sdbus::Variant& registry)
{
    return moved(registry.get<VariantRegistry>());
}

CpldDeviceMap decode(sdbus::MethodReply& reply)
{
    VariantRegistry registry;
    reply >> registry;
    return moved(std::move(registry));
}

static PropertyValue property(GVariant* value)
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

CpldDeviceMap decode(GVariant* registry)
{
    CpldDeviceMap devices;
    GVariantIter iterator;
    g_variant_iter_init(&iterator, registry);
    const char* name = nullptr;
    const char* path = nullptr;
    const char* driver = nullptr;
    GVariantIter* list = nullptr;
    while (g_variant_iter_loop(&iterator, "{&s(&s&sa{sv})}", &name, &path,
                               &driver, &list) != FALSE)
    {
        PropertyMap map;
        const char* key = nullptr;
        GVariant* value = nullptr;
        while (g_variant_iter_loop(list, "{&sv}", &key, &value) != FALSE)
        {
            map.emplace(key, property(value));
        }
        devices.emplace(
            name, wexa::core::CpldDeviceRecord(path, driver, std::move(map)));
    }
    return devices;
}

} // namespace bench
