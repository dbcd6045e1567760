// SPDX-License-Identifier: Apache-2.0
#include "../support/wire.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/message.hpp>

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace
{

using sdbusplus::message::object_path;
using sdbusplus::message::signature;
using support::read;
using support::Wire;

class Append : public testing::Test
{
  protected:
    template <typename... Values>
    sdbusplus::message_t holding(const Values&... values)
    {
        auto m = wire.open();
        m.append(values...);
        return Wire::seal(m);
    }

    template <typename... Values>
    std::string typesOf(const Values&... values)
    {
        return holding(values...).get_signature();
    }

    /** The one value, read by sd-bus itself. */
    template <typename Raw, typename T>
    Raw rawOf(const T& value)
    {
        Raw raw{};
        auto m = holding(value);
        EXPECT_EQ(sd_bus_message_read_basic(m.get(), *m.get_signature(), &raw),
                  1);
        return raw;
    }

    std::string textOf(const auto& value)
    {
        const char* text = nullptr;
        auto m = holding(value);
        EXPECT_EQ(sd_bus_message_read_basic(m.get(), *m.get_signature(), &text),
                  1);
        return text;
    }

    Wire wire;
};

TEST_F(Append, GivesEachBasicTypeItsCode)
{
    EXPECT_EQ(typesOf(true, uint8_t(1), int16_t(1), uint16_t(1), int32_t(1),
                      uint32_t(1), int64_t(1), uint64_t(1), 1.0),
              "bynqiuxtd");
    EXPECT_EQ(typesOf("literal", std::string("s"),
                      object_path(std::string("/o")),
                      signature(std::string("g"))),
              "ssog");
}

TEST_F(Append, GivesEachContainerItsType)
{
    using Nested = std::map<std::string, std::variant<bool, std::string>>;
    EXPECT_EQ(typesOf(std::vector<std::string>{}), "as");
    EXPECT_EQ(typesOf(std::set<uint8_t>{}), "ay");
    EXPECT_EQ(typesOf(std::array<int32_t, 2>{}), "ai");
    EXPECT_EQ(typesOf(std::map<std::string, uint32_t>{}), "a{su}");
    EXPECT_EQ(typesOf(std::unordered_map<object_path, Nested>{}), "a{oa{sv}}");
    EXPECT_EQ(typesOf(std::tuple<std::string, std::tuple<bool>>{}), "(s(b))");
    EXPECT_EQ(typesOf(std::vector<std::tuple<double, Nested>>{}), "a(da{sv})");
}

TEST_F(Append, PutsTheValueOfEachBasicType)
{
    EXPECT_EQ(rawOf<int>(true), 1);
    EXPECT_EQ(rawOf<int>(false), 0);
    EXPECT_EQ(rawOf<uint8_t>(uint8_t(255)), 255);
    EXPECT_EQ(rawOf<int16_t>(int16_t(-32768)), -32768);
    EXPECT_EQ(rawOf<uint16_t>(uint16_t(65535)), 65535);
    EXPECT_EQ(rawOf<int32_t>(INT32_MIN), INT32_MIN);
    EXPECT_EQ(rawOf<uint32_t>(UINT32_MAX), UINT32_MAX);
    EXPECT_EQ(rawOf<int64_t>(INT64_MIN), INT64_MIN);
    EXPECT_EQ(rawOf<uint64_t>(UINT64_MAX), UINT64_MAX);
    EXPECT_EQ(rawOf<double>(-0.5), -0.5);
}

TEST_F(Append, PutsTexts)
{
    const char* pointer = "pointer";
    EXPECT_EQ(textOf("literal"), "literal");
    EXPECT_EQ(textOf(pointer), "pointer");
    EXPECT_EQ(textOf(std::string("a \xc3\xa4")), "a \xc3\xa4");
    EXPECT_EQ(textOf(object_path(std::string("/a"))), "/a");
    EXPECT_EQ(textOf(signature(std::string("a{sv}"))), "a{sv}");
}

TEST_F(Append, CutsATextAtItsFirstZeroByte)
{
    EXPECT_EQ(textOf(std::string("cut\0here", 8)), "cut");
}

TEST_F(Append, PutsWhatTheSameTypesRead)
{
    using Value = std::variant<bool, uint32_t, std::vector<std::string>>;
    using Map = std::map<std::string, Value>;
    const Map map{{"flag", true},
                  {"number", uint32_t(7)},
                  {"list", std::vector<std::string>{"a", "b"}}};
    EXPECT_EQ(read<Map>(holding(map)), map);
    const std::tuple fields(std::string("text"), map, 0.25);
    EXPECT_EQ((read<std::tuple<std::string, Map, double>>(holding(fields))),
              fields);
}

TEST_F(Append, PutsTheAlternativeThatIsHeld)
{
    using Value = std::variant<bool, std::string>;
    const Value held(std::string("a"));
    auto m = holding(held);
    const char* contents = nullptr;
    char type = 0;
    EXPECT_EQ(sd_bus_message_peek_type(m.get(), &type, &contents), 1);
    EXPECT_EQ(type, 'v');
    EXPECT_STREQ(contents, "s");
    EXPECT_EQ(read<Value>(m), held);
}

TEST_F(Append, PutsNothingForNothing)
{
    EXPECT_EQ(typesOf(), "");
}

TEST_F(Append, DoesNotThrowForATextThatIsNotUtf8)
{
    auto m = wire.open();
    EXPECT_NO_THROW(m.append(std::string("\xff"), uint32_t(1)));
    EXPECT_STREQ(m.get_signature(), "s");
}

TEST_F(Append, DoesNotThrowForAnInvalidPath)
{
    auto m = wire.open();
    EXPECT_NO_THROW(m.append(object_path(std::string("no path"))));
    EXPECT_NO_THROW(m.append(std::variant<object_path>()));
    EXPECT_STREQ(m.get_signature(), "o");
}

TEST_F(Append, DoesNotThrowForASealedMessage)
{
    auto m = holding(uint32_t(1));
    EXPECT_NO_THROW(m.append(uint32_t(2)));
    EXPECT_STREQ(m.get_signature(), "u");
}

TEST_F(Append, DoesNotThrowForANullMessage)
{
    sdbusplus::message_t none;
    EXPECT_NO_THROW(none.append(std::string("text"), true));
    EXPECT_FALSE(none);
}

} // namespace
