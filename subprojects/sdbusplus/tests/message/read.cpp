// SPDX-License-Identifier: Apache-2.0
#include "../support/wire.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/message.hpp>

#include <cstdint>
#include <limits>
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

class Read : public testing::Test
{
  protected:
    /** A message made by sd-bus itself, so that a mistake of append cannot
     *  hide one of read. */
    template <typename... Values>
    sdbusplus::message_t holding(const char* types, Values... values)
    {
        return wire.sealed([&](auto* m) {
            ASSERT_GE(sd_bus_message_append(m, types, values...), 0);
        });
    }

    Wire wire;
};

TEST_F(Read, GivesTheLimitsOfEveryInteger)
{
    EXPECT_EQ(read<uint8_t>(holding("y", 255)), 255);
    EXPECT_EQ(read<int16_t>(holding("n", -32768)), -32768);
    EXPECT_EQ(read<uint16_t>(holding("q", 65535)), 65535);
    EXPECT_EQ(read<int32_t>(holding("i", INT32_MIN)), INT32_MIN);
    EXPECT_EQ(read<uint32_t>(holding("u", UINT32_MAX)), UINT32_MAX);
    EXPECT_EQ(read<int64_t>(holding("x", INT64_MIN)), INT64_MIN);
    EXPECT_EQ(read<uint64_t>(holding("t", UINT64_MAX)), UINT64_MAX);
    EXPECT_EQ(read<double>(holding("d", -0.5)), -0.5);
}

TEST_F(Read, GivesBothBools)
{
    EXPECT_TRUE(read<bool>(holding("b", 1)));
    EXPECT_FALSE(read<bool>(holding("b", 0), true));
}

TEST_F(Read, TakesAnyNonzeroBoolOfThePeerForTrue)
{
    EXPECT_TRUE(read<bool>(wire.received("b", {2, 0, 0, 0})));
}

TEST_F(Read, TakesABoolOfThePeerWithHighBitsOnlyForTrue)
{
    EXPECT_TRUE(read<bool>(wire.received("b", {0, 0, 0, 128})));
}

TEST_F(Read, GivesTexts)
{
    EXPECT_EQ(read<std::string>(holding("s", "a \xc3\xa4")), "a \xc3\xa4");
    EXPECT_EQ(read<std::string>(holding("s", ""), "before"), "");
    EXPECT_EQ(read<object_path>(holding("o", "/a/b")).str, "/a/b");
    EXPECT_EQ(read<signature>(holding("g", "a{sv}")).str, "a{sv}");
    auto m = holding("s", "borrowed");
    EXPECT_STREQ(read<const char*>(m), "borrowed");
}

TEST_F(Read, GivesSeveralValuesInTheirOrder)
{
    auto m = holding("uoss", 4, "/job/4", "a.service", "done");
    uint32_t id = 0;
    object_path path;
    std::string unit;
    std::string result;
    m.read(id, path, unit, result);
    EXPECT_EQ(id, 4U);
    EXPECT_EQ(path.str, "/job/4");
    EXPECT_EQ(unit, "a.service");
    EXPECT_EQ(result, "done");
}

TEST_F(Read, LeavesTheRestForTheNextRead)
{
    auto m = holding("us", 1, "rest");
    EXPECT_EQ(read<uint32_t>(m), 1U);
    EXPECT_EQ(read<std::string>(m), "rest");
    m.read();
}

TEST_F(Read, AddsTheItemsOfAnArrayToAVector)
{
    EXPECT_EQ(read<std::vector<uint32_t>>(holding("au", 2, 1, 2), {0}),
              (std::vector<uint32_t>{0, 1, 2}));
    EXPECT_EQ(read<std::vector<bool>>(holding("ab", 2, 1, 0)),
              (std::vector<bool>{true, false}));
    EXPECT_EQ(read<std::vector<std::string>>(holding("as", 0)),
              std::vector<std::string>{});
    EXPECT_EQ(read<std::set<std::string>>(holding("as", 2, "b", "a"), {"c"}),
              (std::set<std::string>{"a", "b", "c"}));
}

TEST_F(Read, KeepsTheFirstOfTwoEntriesWithOneKey)
{
    using Map = std::map<std::string, int32_t>;
    using Hashed = std::unordered_map<std::string, int32_t>;
    auto twice = [&] { return holding("a{si}", 3, "a", 1, "b", 2, "a", 3); };
    EXPECT_EQ(read<Map>(twice()), (Map{{"a", 1}, {"b", 2}}));
    EXPECT_EQ(read<Map>(twice(), {{"b", 9}}), (Map{{"a", 1}, {"b", 9}}));
    EXPECT_EQ(read<Hashed>(twice()), (Hashed{{"a", 1}, {"b", 2}}));
}

TEST_F(Read, GivesTheFieldsOfAStructure)
{
    using Structure = std::tuple<std::string, std::tuple<bool, object_path>>;
    EXPECT_EQ(read<Structure>(holding("(s(bo))", "a", 1, "/b")),
              Structure("a", {true, object_path(std::string("/b"))}));

    uint32_t number = 0;
    std::string text;
    holding("(us)", 5, "tied").read(std::tie(number, text));
    EXPECT_EQ(number, 5U);
    EXPECT_EQ(text, "tied");
}

TEST_F(Read, GivesAnEntryWhereTheReaderStandsInsideAMap)
{
    using Entry = std::pair<std::string, int32_t>;
    auto m = holding("a{si}", 1, "key", -1);
    sd_bus_message_enter_container(m.get(), 'a', "{si}");
    EXPECT_EQ(read<Entry>(m), Entry("key", -1));
}

using Value = std::variant<bool, uint8_t, int16_t, uint32_t, double,
                           std::string, object_path, std::vector<std::string>>;

TEST_F(Read, GivesTheAlternativeThatTheVariantHolds)
{
    EXPECT_EQ(read<Value>(holding("v", "b", 1)), Value(true));
    EXPECT_EQ(read<Value>(holding("v", "y", 1)), Value(uint8_t(1)));
    EXPECT_EQ(read<Value>(holding("v", "n", 1)), Value(int16_t(1)));
    EXPECT_EQ(read<Value>(holding("v", "u", 1)), Value(uint32_t(1)));
    EXPECT_EQ(read<Value>(holding("v", "d", 1.5)), Value(1.5));
    EXPECT_EQ(read<Value>(holding("v", "s", "a")), Value(std::string("a")));
    EXPECT_EQ(read<Value>(holding("v", "o", "/a")),
              Value(object_path(std::string("/a"))));
    EXPECT_EQ(read<Value>(holding("v", "as", 1, "a")),
              Value(std::vector<std::string>{"a"}));
}

TEST_F(Read, MakesTheDefaultOfAVariantOfAnUnlistedType)
{
    auto m = holding("vs", "a{sv}", 1, "key", "t", uint64_t(1), "behind");
    EXPECT_EQ(read<Value>(m, Value(1.5)), Value(false));
    EXPECT_EQ(read<std::string>(m), "behind");
}

TEST_F(Read, GoesThroughAReplyOfManagedObjects)
{
    using Properties = std::map<std::string, Value>;
    using Interfaces = std::map<std::string, Properties>;
    using Objects = std::map<object_path, Interfaces>;
    auto m = holding("a{oa{sa{sv}}}", 2,          //
                     "/one", 1,                   //
                     "an.Interface", 2,           //
                     "Flag", "b", 1,              //
                     "Unlisted", "t", UINT64_MAX, //
                     "/two", 0);
    const Properties properties{{"Flag", true}, {"Unlisted", false}};
    const Objects expected{
        {std::string("/one"), Interfaces{{"an.Interface", properties}}},
        {std::string("/two"), Interfaces{}}};
    EXPECT_EQ(read<Objects>(m), expected);
}

} // namespace
