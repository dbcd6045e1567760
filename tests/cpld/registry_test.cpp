// SPDX-License-Identifier: Apache-2.0
#include "../../src/cpld/registry.hpp"
#include "../support/cpld_manager.hpp"
#include "../support/library_test.hpp"

// How the registry and property dictionaries are decoded, on messages built
// for it.

using namespace test;
using namespace test::cpld_manager;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using wexa::core::CpldDeviceMap;
using wexa::core::CpldDeviceRecord;
using wexa::core::PropertyMap;
using wexa::core::PropertyValue;

namespace
{

class Registry : public LibraryTest
{
  protected:
    template <typename Value>
    Value read(const std::function<void(sd_bus_message*)>& append)
    {
        Value value;
        signalWith(append).read(value);
        return value;
    }

    PropertyMap readProperties(const std::vector<Properties>& properties)
    {
        return read<PropertyMap>([&](sd_bus_message* message) {
            appendProperties(message, properties);
        });
    }

    CpldDeviceMap readRegistry(const std::vector<Device>& devices)
    {
        return read<CpldDeviceMap>(
            [&](sd_bus_message* message) { appendRegistry(message, devices); });
    }

    template <typename Value>
    std::string failure(const std::function<void(sd_bus_message*)>& append)
    {
        return thrownText<sdbusplus::exception::SdBusError>(
            [&] { read<Value>(append); });
    }
};

template <typename Value>
PropertyValue value(Value content)
{
    return PropertyValue{content};
}

TEST_F(Registry, KeepsEveryListedTypeAsItsOwnAlternative)
{
    const auto properties = readProperties({
        property("i", "i", std::int32_t{-1}),
        property("x", "x", std::int64_t{-2}),
        property("u", "u", std::uint32_t{3}),
        property("t", "t", std::uint64_t{4}),
        text("s", "five"),
        property("b", "b", 1),
        property("c", "b", 0),
    });

    EXPECT_THAT(properties,
                ElementsAre(Pair("b", value(true)), Pair("c", value(false)),
                            Pair("i", value(std::int32_t{-1})),
                            Pair("s", value(std::string("five"))),
                            Pair("t", value(std::uint64_t{4})),
                            Pair("u", value(std::uint32_t{3})),
                            Pair("x", value(std::int64_t{-2}))));
    EXPECT_EQ(properties.at("b").index(), 5U);
    EXPECT_EQ(properties.at("u").index(), 2U);
}

TEST_F(Registry, KeepsTheFirstOfPropertiesWithTheSameName)
{
    EXPECT_THAT(readProperties({text("a", "first"), text("b", "only"),
                                text("a", "second"),
                                property("b", "u", std::uint32_t{1})}),
                ElementsAre(Pair("a", value(std::string("first"))),
                            Pair("b", value(std::string("only")))));
    EXPECT_THAT(readProperties({property("a", "d", 1.5), text("a", "later")}),
                ElementsAre(Pair("a", PropertyValue())));
}

TEST_F(Registry, MayBeEmpty)
{
    EXPECT_THAT(readProperties({}), IsEmpty());
    EXPECT_THAT(readRegistry({}), IsEmpty());
}

TEST_F(Registry, HoldsPathDriverAndPropertiesByComponent)
{
    EXPECT_THAT(readRegistry({{"b", "/dev/b", "jtag", {text("x", "1")}},
                              {"", "", "", {}},
                              {"B", "/dev/B", "i2c", {}}}),
                ElementsAre(Pair("", CpldDeviceRecord("", "", {})),
                            Pair("B", CpldDeviceRecord("/dev/B", "i2c", {})),
                            Pair("b", CpldDeviceRecord(
                                          "/dev/b", "jtag",
                                          {{"x", value(std::string("1"))}}))));
}

TEST_F(Registry, KeepsTheFirstOfRecordsWithTheSameComponent)
{
    EXPECT_THAT(readRegistry({{"a", "/first", "one", {}},
                              {"b", "/b", "b", {}},
                              {"a", "/second", "two", {text("x", "1")}}}),
                ElementsAre(Pair("a", CpldDeviceRecord("/first", "one", {})),
                            Pair("b", CpldDeviceRecord("/b", "b", {}))));
}

TEST_F(Registry, MayHoldFiveThousandDevices)
{
    std::vector<Device> devices;
    for (auto i = 5000; i-- > 0;)
    {
        const auto number = std::to_string(i);
        devices.push_back({"C" + number,
                           "/dev/" + number,
                           "drv",
                           {property("n", "u", std::uint32_t(i))}});
    }
    const auto registry = readRegistry(devices);
    EXPECT_EQ(registry.size(), 5000U);
    EXPECT_EQ(registry.at("C4999"),
              CpldDeviceRecord("/dev/4999", "drv",
                               {{"n", value(std::uint32_t{4999})}}));
}

TEST_F(Registry, OfAnotherTypeIsRefusedAtItsFirstStep)
{
    const auto with = [](const char* types, auto... values) {
        return [=](sd_bus_message* message) {
            check(sd_bus_message_append(message, types, values...), "append");
        };
    };
    EXPECT_EQ(failure<CpldDeviceMap>(with("s", "text")), notARegistry);
    EXPECT_EQ(failure<CpldDeviceMap>(with("a{sv}", 0)), notARegistry);
    EXPECT_EQ(failure<CpldDeviceMap>(with("a{s(ss)}", 1, "c", "/p", "d")),
              notARegistry);
    EXPECT_EQ(
        failure<CpldDeviceMap>(with("a{s(soa{sv})}", 1, "c", "/p", "/d", 0)),
        notARegistry);
    EXPECT_EQ(failure<CpldDeviceMap>([](sd_bus_message*) {}), notARegistry);
    EXPECT_EQ(failure<PropertyMap>(with("a{ss}", 1, "k", "v")), notARegistry);
}

} // namespace
