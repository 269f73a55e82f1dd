#include "zarn/value.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>

#include "base/value_access.h"

namespace shop {
enum class Size { small, large };
std::string to_string(Size size) {
  return size == Size::small ? "small" : "large";
}
}  // namespace shop

namespace zarn {
namespace {

using base::ValueAccess;

TEST(Value, KeepsTheKindItIsMadeOf) {
  EXPECT_TRUE(Value().isNull());
  EXPECT_TRUE(Value(nullptr).isNull());
  EXPECT_EQ(Value(true).asBool(), true);
  EXPECT_EQ(Value(std::vector<bool>{false, true}[1]).asBool(), true);
  EXPECT_EQ(Value(std::int8_t{-3}).asInt(), -3);
  EXPECT_EQ(Value(std::uint8_t{200}).asInt(), 200);
  EXPECT_EQ(Value(std::numeric_limits<std::int64_t>::min()).asInt(), INT64_MIN);
  EXPECT_EQ(Value(std::uint64_t{INT64_MAX}).asInt(), INT64_MAX);
  EXPECT_EQ(Value(0.5f).asDouble(), 0.5);
  EXPECT_EQ(Value(2.0L).asDouble(), 2.0);
  EXPECT_EQ(*Value(Date{}).asDate(), Date{});
  EXPECT_EQ(Value(Url{"https://a.example"}).asUrl()->text, "https://a.example");
  EXPECT_EQ(Value(Decimal{"1.10"}).asDecimal()->text, "1.10");
  EXPECT_EQ(Value(Uuid{}).asUuid()->bytes[0], 0);
  EXPECT_EQ(Value(Array{1, "b"}).asArray()->size(), 2u);
  EXPECT_EQ(Value(Properties{{"a", 1}}).asProperties()->size(), 1u);
}

TEST(Value, DoesNotConvertBetweenKinds) {
  EXPECT_EQ(Value(1).asBool(), std::nullopt);
  EXPECT_EQ(Value(1).asDouble(), std::nullopt);
  EXPECT_EQ(Value("1").asInt(), std::nullopt);
  EXPECT_EQ(Value(Url{"u"}).asString(), std::nullopt);
  EXPECT_NE(Value(1), Value(1.0));
}

TEST(Value, TakesTextInEveryForm) {
  const char* const pointer = "text";
  char buffer[] = "text";
  for (const Value& value :
       {Value("text"), Value(pointer), Value(buffer), Value(std::string("text")),
        Value(std::string_view("text")), Value(std::filesystem::path("text"))}) {
    EXPECT_EQ(value.asString(), "text");
  }
  const char* nothing = nullptr;
  EXPECT_TRUE(Value(nothing).isNull());
  EXPECT_EQ(Value(std::string_view("a\0b", 3)).asString()->size(), 3u);
}

TEST(Value, TakesAnythingElseAsItsText) {
  EXPECT_EQ(Value(std::numeric_limits<std::uint64_t>::max()).asString(), "18446744073709551615");
  EXPECT_EQ(Value(shop::Size::large).asString(), "large");
}

TEST(Value, UnwrapsOptionals) {
  EXPECT_EQ(Value(std::optional<int>(4)).asInt(), 4);
  EXPECT_TRUE(Value(std::optional<std::string>()).isNull());
  EXPECT_EQ(Value(std::optional<Value>("x")).asString(), "x");
}

struct Flags {
  static const int kLimit = 7;  // no definition: must not be referenced
  unsigned count : 3;
};

TEST(Value, ReadsMembersThatHaveNoAddress) {
  const Flags flags{5};
  EXPECT_EQ(Value(flags.count).asInt(), 5);
  EXPECT_EQ(Value(Flags::kLimit).asInt(), 7);
}

TEST(Value, OpaqueTextIsNoPlainText) {
  const Value value = ValueAccess::opaque("visit");
  EXPECT_EQ(value.asString(), std::nullopt);
  ASSERT_NE(ValueAccess::opaqueText(value), nullptr);
  EXPECT_EQ(*ValueAccess::opaqueText(value), "visit");
  EXPECT_NE(value, Value("visit"));
  EXPECT_EQ(ValueAccess::opaqueText(Value("visit")), nullptr);
}

int depthOf(const Value* value) {
  int depth = 0;
  for (; value && value->asArray(); value = &value->asArray()->front()) ++depth;
  return depth;
}

TEST(Value, NestingIsBounded) {
  Value value = "core";
  for (int i = 0; i < 64; ++i) value = Value(Array{value});
  EXPECT_EQ(depthOf(&value), 64);
  EXPECT_EQ(Value(Array{value}).asString(), "[nested too deeply]");
  EXPECT_EQ(Value(Properties{{"k", value}}).asString(), "[nested too deeply]");

  // Siblings and a replaced member don't add up.
  Properties wide{{"a", value}, {"b", value}};
  wide.set("a", 1);
  wide.set("b", 2);
  EXPECT_NE(Value(wide).asProperties(), nullptr);
}

TEST(Value, AHostThatNestsInALoopOverflowsNoStack) {
  Array array{1};
  for (int i = 0; i < 300'000; ++i) {
    Array outer;
    outer.push_back(std::move(array));
    array = std::move(outer);
  }
  const Value copy = Array(array);
  EXPECT_LE(depthOf(&copy), 64);
}

TEST(Properties, ARepeatedKeyKeepsItsPlaceAndTakesTheLastValue) {
  Properties properties{{"a", 1}, {"b", 2}, {"a", 3}};
  properties.set("c", 4);
  properties.set("b", "new");
  std::string keys;
  for (const auto& [key, value] : properties) keys += key;
  EXPECT_EQ(keys, "abc");
  EXPECT_EQ(properties.find("a")->asInt(), 3);
  EXPECT_EQ(properties.find("b")->asString(), "new");
  EXPECT_EQ(properties.find("d"), nullptr);
}

TEST(Properties, CanHoldThemselvesByCopy) {
  Properties properties{{"a", 1}};
  properties.set("self", properties);
  EXPECT_EQ(properties.find("self")->asProperties()->size(), 1u);
  properties = *properties.find("self")->asProperties();
  EXPECT_EQ(properties.size(), 1u);
}

TEST(Properties, EqualityIgnoresOrder) {
  EXPECT_EQ((Properties{{"a", 1}, {"b", 2}}), (Properties{{"b", 2}, {"a", 1}}));
  EXPECT_NE((Properties{{"a", 1}, {"b", 2}}), (Properties{{"a", 1}, {"c", 2}}));
  EXPECT_NE((Properties{{"a", 1}}), (Properties{{"a", 1}, {"b", 2}}));
}

/// Few keys are searched one by one, many by an index: both behave alike, also across the border.
class PropertiesOfSize : public testing::TestWithParam<int> {
 protected:
  static std::string key(int i) { return "key" + std::to_string(i); }
  static Properties make(int count) {
    Properties properties;
    for (int i = 0; i < count; ++i) properties.set(key(i), i);
    return properties;
  }
  static void expectKeys(const Properties& properties, const std::vector<int>& expected) {
    ASSERT_EQ(properties.size(), expected.size());
    std::size_t at = 0;
    for (const auto& entry : properties) {
      ASSERT_EQ(entry.key, key(expected[at++]));
      ASSERT_EQ(properties.find(entry.key), &entry.value);
    }
  }
};

TEST_P(PropertiesOfSize, FindSetEraseAndCopyAgree) {
  const int count = GetParam();
  Properties properties = make(count);
  const Properties before = properties;
  std::vector<int> left;
  for (int i = 0; i < count; ++i) {
    if (i % 3 == 0 && i < 300) {
      EXPECT_TRUE(properties.erase(key(i)));
      EXPECT_FALSE(properties.erase(key(i)));
    } else {
      left.push_back(i);
    }
  }
  expectKeys(properties, left);
  properties.set(key(0), "again");  // erased: comes last now
  left.push_back(0);
  expectKeys(properties, left);
  EXPECT_EQ(before, make(count));

  Properties moved = std::move(properties);
  expectKeys(moved, left);
  properties = Properties{{"fresh", 1}};
  EXPECT_EQ(properties.find("fresh")->asInt(), 1);
  EXPECT_EQ(properties.find(key(1)), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Sizes, PropertiesOfSize, testing::Values(1, 15, 16, 17, 18, 33, 10'000));

}  // namespace
}  // namespace zarn
