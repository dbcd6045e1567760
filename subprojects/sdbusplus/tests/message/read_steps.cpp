// SPDX-License-Identifier: Apache-2.0
#include "../support/complaint.hpp"
#include "../support/wire.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/message.hpp>

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

/* A read that fails names its step. Honest messages reach most of the steps by
 * being of another type than asked for. The rest takes a body that lies about
 * its lengths, which sd-bus notices only on the way, or a reader that has
 * entered an array by hand and stands at its end. */

namespace
{

using sdbusplus::message::object_path;
using sdbusplus::message::signature;
using support::badMessage;
using support::complaintOf;
using support::otherType;
using support::Wire;

template <typename T>
std::string complaintOfReading(sdbusplus::message_t m)
{
    T value{};
    return complaintOf([&] { m.read(value); });
}

class ReadStep : public testing::Test
{
  protected:
    sdbusplus::message_t text()
    {
        return wire.sealed(
            [](auto* m) { sd_bus_message_append(m, "s", "text"); });
    }

    sdbusplus::message_t number()
    {
        return wire.sealed([](auto* m) { sd_bus_message_append(m, "u", 7); });
    }

    /** An empty array of type, with the reader inside. */
    sdbusplus::message_t insideEmptyArray(const char* type)
    {
        auto m = wire.sealed([&](auto* empty) {
            sd_bus_message_open_container(empty, 'a', type);
            sd_bus_message_close_container(empty);
        });
        sd_bus_message_enter_container(m.get(), 'a', type);
        return m;
    }

    Wire wire;
};

TEST_F(ReadStep, OfABoolIsNamedBool)
{
    EXPECT_EQ(complaintOfReading<bool>(text()),
              "sd_bus_message_read_basic bool" + otherType);
}

TEST_F(ReadStep, OfATextIsNamedString)
{
    const auto expected = "sd_bus_message_read_basic string" + otherType;
    EXPECT_EQ(complaintOfReading<std::string>(number()), expected);
    EXPECT_EQ(complaintOfReading<object_path>(text()), expected);
    EXPECT_EQ(complaintOfReading<signature>(text()), expected);
}

TEST_F(ReadStep, OfAnythingElseBasicIsNamedFundamental)
{
    const auto expected = "sd_bus_message_read_basic fundamental" + otherType;
    EXPECT_EQ(complaintOfReading<uint8_t>(text()), expected);
    EXPECT_EQ(complaintOfReading<int16_t>(text()), expected);
    EXPECT_EQ(complaintOfReading<uint16_t>(text()), expected);
    EXPECT_EQ(complaintOfReading<int32_t>(text()), expected);
    EXPECT_EQ(complaintOfReading<uint32_t>(text()), expected);
    EXPECT_EQ(complaintOfReading<int64_t>(text()), expected);
    EXPECT_EQ(complaintOfReading<uint64_t>(text()), expected);
    EXPECT_EQ(complaintOfReading<double>(text()), expected);
    EXPECT_EQ(complaintOfReading<const char*>(number()), expected);
}

TEST_F(ReadStep, OfSeveralValuesIsThatOfTheFirstThatFails)
{
    uint32_t id = 0;
    object_path path;
    std::string unit;
    std::string result;
    auto job = text();
    EXPECT_EQ(complaintOf([&] { job.read(id, path, unit, result); }),
              "sd_bus_message_read_basic fundamental" + otherType);

    auto half = wire.sealed(
        [](auto* m) { sd_bus_message_append(m, "uo", 9, "/job/9"); });
    EXPECT_EQ(complaintOf([&] { half.read(id, path, unit, result); }),
              "sd_bus_message_read_basic string" + otherType);
    EXPECT_EQ(id, 9U);
    EXPECT_EQ(path.str, "/job/9");
}

TEST_F(ReadStep, OfSeveralNumbersIsTheStepOfOne)
{
    uint32_t first = 0;
    uint32_t second = 0;
    auto one = number();
    EXPECT_EQ(complaintOf([&] { one.read(first, second); }),
              "sd_bus_message_read_basic fundamental" + otherType);
    EXPECT_EQ(first, 7U);
}

TEST_F(ReadStep, AtTheEndOfAMessageIsThatOfAnotherType)
{
    auto empty = wire.sealed([](auto*) {});
    EXPECT_EQ(complaintOfReading<std::string>(empty),
              "sd_bus_message_read_basic string" + otherType);
    EXPECT_EQ(complaintOfReading<uint32_t>(empty),
              "sd_bus_message_read_basic fundamental" + otherType);
}

TEST_F(ReadStep, OfAMessageThatIsNotSealedIsItsFirst)
{
    using Value = std::variant<bool, std::string>;
    EXPECT_EQ(complaintOfReading<Value>(wire.open()),
              "sd_bus_message_verify_type variant" + support::notSealed);
    EXPECT_EQ(complaintOfReading<std::vector<bool>>(wire.open()),
              "sd_bus_message_enter_container emplace_back_container" +
                  support::notSealed);
}

TEST_F(ReadStep, OfNoMessageIsItsFirst)
{
    EXPECT_EQ(complaintOfReading<bool>(sdbusplus::message_t()),
              "sd_bus_message_read_basic bool" + support::badArgument);
}

TEST_F(ReadStep, OfAListThatIsNotThereIsItsEntry)
{
    EXPECT_EQ(complaintOfReading<std::vector<uint32_t>>(number()),
              "sd_bus_message_enter_container emplace_back_container" +
                  otherType);
}

TEST_F(ReadStep, OfAListWhoseItemsPassItsEndIsItsExit)
{
    auto m = wire.received("au", {6, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0});
    EXPECT_EQ(complaintOfReading<std::vector<uint32_t>>(m),
              "sd_bus_message_exit_container emplace_back_container"
              ": System.Error.EBUSY: Device or resource busy");
}

TEST_F(ReadStep, OfAMapThatIsNotThereIsItsEntry)
{
    using Map = std::map<std::string, std::string>;
    const auto expected =
        "sd_bus_message_enter_container emplace_container" + otherType;
    EXPECT_EQ(complaintOfReading<Map>(number()), expected);
    auto otherValues = wire.sealed(
        [](auto* m) { sd_bus_message_append(m, "a{si}", 1, "key", 1); });
    EXPECT_EQ(complaintOfReading<Map>(otherValues), expected);
}

TEST_F(ReadStep, OfAMapWhoseEntriesPassItsEndIsItsExit)
{
    using Map = std::map<uint8_t, uint8_t>;
    auto m = wire.received("a{yy}", {1, 0, 0, 0, 0, 0, 0, 0, 1, 2});
    EXPECT_EQ(complaintOfReading<Map>(m),
              "sd_bus_message_exit_container emplace_container"
              ": System.Error.EBUSY: Device or resource busy");
}

TEST_F(ReadStep, OfAnEntryThatIsNotThereIsItsEntry)
{
    using Entry = std::pair<std::string, uint32_t>;
    EXPECT_EQ(complaintOfReading<Entry>(text()),
              "sd_bus_message_enter_container pair" + otherType);
}

TEST_F(ReadStep, OfAnEntryAroundTheEndOfAnArrayIsItsExit)
{
    using Entry = std::pair<uint8_t, std::pair<uint8_t, uint8_t>>;
    EXPECT_EQ(complaintOfReading<Entry>(insideEmptyArray("{yy}")),
              "sd_bus_message_exit_container pair" + otherType);
}

TEST_F(ReadStep, OfAStructureThatIsNotThereIsItsEntry)
{
    using Structure = std::tuple<std::string, uint32_t>;
    EXPECT_EQ(complaintOfReading<Structure>(text()),
              "sd_bus_message_enter_container tuple" + otherType);
}

TEST_F(ReadStep, OfAStructureAroundTheEndOfAnArrayIsItsExit)
{
    using Structure = std::tuple<uint8_t, std::tuple<uint8_t>>;
    EXPECT_EQ(complaintOfReading<Structure>(insideEmptyArray("(y)")),
              "sd_bus_message_exit_container tuple" + otherType);
}

TEST_F(ReadStep, OfAVariantThatIsNotThereIsItsSkip)
{
    using Value = std::variant<bool, std::string>;
    EXPECT_EQ(complaintOfReading<Value>(text()),
              "sd_bus_message_skip variant" + otherType);
}

TEST_F(ReadStep, OfAVariantOfAnUnknownTypeIsItsCheck)
{
    using Value = std::variant<bool, std::string>;
    EXPECT_EQ(complaintOfReading<Value>(wire.received("v", {1, '!', 0})),
              "sd_bus_message_verify_type variant" + badMessage);
}

TEST_F(ReadStep, OfAVariantInTheDeepestContainerIsItsEntry)
{
    const int deepest = 128; // what sd-bus allows
    support::Bytes body;
    for (int level = 0; level < deepest; ++level)
    {
        body.insert(body.end(), {1, 'v', 0});
    }
    body.insert(body.end(), {1, 'y', 0, 5});
    auto m = wire.received("v", body);
    for (int level = 0; level < deepest; ++level)
    {
        ASSERT_EQ(sd_bus_message_enter_container(m.get(), 'v', "v"), 1);
    }
    EXPECT_EQ(complaintOfReading<std::variant<uint8_t>>(m),
              "sd_bus_message_enter_container variant" + badMessage);
}

TEST_F(ReadStep, InsideAContainerIsTheInnermost)
{
    using Value = std::variant<uint8_t, std::string>;
    // The string claims 99 bytes.
    auto m = wire.received("v", {1, 's', 0, 0, 99, 0, 0, 0, 'x', 0});
    EXPECT_EQ(complaintOfReading<Value>(m),
              "sd_bus_message_read_basic string" + badMessage);
}

TEST_F(ReadStep, OfATextAtTheEndOfAnArrayIsNoStepOfSdBus)
{
    auto m = insideEmptyArray("s");
    std::string value = "as it was";
    EXPECT_THROW(m.read(value), std::logic_error);
    EXPECT_EQ(value, "as it was");
}

TEST_F(ReadStep, OfANumberAtTheEndOfAnArrayLeavesItAsItWas)
{
    auto m = insideEmptyArray("u");
    uint32_t value = 3;
    EXPECT_EQ(complaintOf([&] { m.read(value); }), "no complaint");
    EXPECT_EQ(value, 3U);
}

} // namespace
