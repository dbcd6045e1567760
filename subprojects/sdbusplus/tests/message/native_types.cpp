// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sdbusplus/message/native_types.hpp>

#include <map>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <utility>

namespace
{

using sdbusplus::message::object_path;
using sdbusplus::message::signature;

template <typename T>
class NativeText : public testing::Test
{};

using Kinds = testing::Types<object_path, signature>;
TYPED_TEST_SUITE(NativeText, Kinds);

TYPED_TEST(NativeText, ComesFromAString)
{
    const std::string text = "/a";
    const TypeParam implicit = text;
    EXPECT_EQ(implicit.str, "/a");
    EXPECT_EQ(TypeParam(std::string("/b")).str, "/b");
    EXPECT_EQ(TypeParam("/c").str, "/c");
    EXPECT_EQ(TypeParam().str, "");
}

TYPED_TEST(NativeText, DoesNotComeFromALiteralUnasked)
{
    EXPECT_TRUE((std::is_constructible_v<TypeParam, const char*>));
    EXPECT_FALSE((std::is_convertible_v<const char*, TypeParam>));
}

TYPED_TEST(NativeText, GoesToAString)
{
    TypeParam path("/a long path that does not fit into a short string");
    const std::string copied = path;
    const std::string& borrowed = path;
    EXPECT_EQ(copied, path.str);
    EXPECT_EQ(&borrowed, &path.str);
    const std::string moved = std::move(path);
    EXPECT_EQ(moved, copied);
    EXPECT_EQ(path.str, "");
}

TYPED_TEST(NativeText, ComparesWithItsLikeAndWithStrings)
{
    const TypeParam a("/a");
    const TypeParam b("/b");
    const std::string text = "/a";
    EXPECT_TRUE(a == a && a != b && a < b && !(b < a));
    EXPECT_TRUE(a == text && text == a && b != text && text != b);
    EXPECT_TRUE(text < b && !(b < text) && !(text < a) && a < "/b");
    EXPECT_TRUE(a == "/a" && "/a" == a);
}

TYPED_TEST(NativeText, IsAKey)
{
    const std::map<TypeParam, int> ordered{{TypeParam("/a"), 1},
                                           {TypeParam("/b"), 2}};
    EXPECT_EQ(ordered.at(std::string("/b")), 2);
    std::unordered_set<TypeParam> hashed{TypeParam("/a")};
    EXPECT_EQ(hashed.count(std::string("/a")), 1U);
    EXPECT_EQ(std::hash<TypeParam>()(TypeParam("/a")),
              std::hash<std::string>()("/a"));
}

TEST(ObjectPath, IsNoSignature)
{
    EXPECT_FALSE((std::is_same_v<object_path, signature>));
}

} // namespace
