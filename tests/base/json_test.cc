#include "base/json.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "base/text.h"
#include "base/value_access.h"

namespace zarn::base {
namespace {

std::string write(const Value& value) {
  std::string out;
  JsonWriter(out).value(value);
  return out;
}

TEST(JsonWriter, PutsCommasWhereTheyBelong) {
  std::string out = "prefix ";
  JsonWriter json(out);
  json.beginObject().member("a", "x").key("b").beginArray();
  json.integer(1).beginObject().endObject().beginArray().endArray().null().boolean(false);
  json.endArray().raw("").raw(R"("c":1,"d":2)").key("e").number(0.5).endObject();
  EXPECT_EQ(out, R"(prefix {"a":"x","b":[1,{},[],null,false],"c":1,"d":2,"e":0.5})");
}

TEST(JsonWriter, WritesValuesByTheirKind) {
  EXPECT_EQ(write(nullptr), "null");
  EXPECT_EQ(write(true), "true");
  EXPECT_EQ(write(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
  EXPECT_EQ(write(std::numeric_limits<float>::infinity()), "null");
  EXPECT_EQ(write(std::nan("")), "null");
  EXPECT_EQ(write(Date(std::chrono::milliseconds(1'700'000'000'042))),
            R"("2023-11-14T22:13:20.042Z")");
  EXPECT_EQ(write(Url{"https://a.example/?q=\""}), R"("https://a.example/?q=\"")");
  EXPECT_EQ(write(*Uuid::parse("0123abcd-0000-4000-8000-00000000000f")),
            R"("0123ABCD-0000-4000-8000-00000000000F")");
  EXPECT_EQ(write(ValueAccess::opaque("word")), R"("word")");
  EXPECT_EQ(write(Properties{{"z", Array{1, "two", Properties{}}}, {"a", nullptr}}),
            R"({"z":[1,"two",{}],"a":null})");
}

TEST(JsonWriter, WritesDecimalsAsNumbers) {
  EXPECT_EQ(write(Decimal{"19.99"}), "19.99");
  EXPECT_EQ(write(Decimal{"-3"}), "-3.0");
  for (const char* text : {"", "abc", "1,5", "1 ", "inf", "nan", "1e999"}) {
    EXPECT_EQ(write(Decimal{text}), "null") << text;
  }
}

TEST(JsonWriter, DoublesAreShortAndStayDoubles) {
  EXPECT_EQ(write(0.1), "0.1");
  EXPECT_EQ(write(-0.0), "-0.0");
  EXPECT_EQ(write(3.0), "3.0");
  EXPECT_EQ(write(100000.0), "100000.0");
  EXPECT_EQ(write(999999999999999.0), "999999999999999.0");
  EXPECT_EQ(write(1e-7), "1e-07");
  EXPECT_EQ(write(1.5e300), "1.5e+300");
}

TEST(JsonWriter, AnyDoubleReadsBackAsItself) {
  std::mt19937_64 random(7);
  const auto expectSame = [](double number) {
    const auto back = parseJson(write(number));
    ASSERT_TRUE(back && back->asDouble()) << write(number);
    ASSERT_EQ(*back->asDouble(), number);
  };
  for (const double number :
       {std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min(), 1e15, 1e-5,
        std::nextafter(1e15, 0), std::nextafter(1e-5, 0), 5e-324, 9007199254740993.0}) {
    expectSame(number);
    expectSame(-number);
  }
  for (int i = 0; i < 20'000; ++i) {
    double number = 0;
    const std::uint64_t bits = random();
    std::memcpy(&number, &bits, sizeof number);
    if (std::isfinite(number)) expectSame(number);
    expectSame(static_cast<double>(static_cast<std::int64_t>(random())) / 1e9);
  }
}

TEST(JsonWriter, EscapesAtAnyPlaceInAWord) {
  for (const std::string special : {"\"", "\\", "\n", "\x01", "\x1f", "\xc3\xbc", "\xff"}) {
    for (std::size_t before = 0; before < 10; ++before) {
      const std::string text = std::string(before, 'a') + special + std::string(9 - before, '~');
      const auto back = parseJson(write(text));
      ASSERT_TRUE(back && back->asString()) << before;
      EXPECT_EQ(*back->asString(), replaceInvalidUtf8(text));
    }
  }
  EXPECT_EQ(write("a\"b\\c\n\x01/\x7f"), "\"a\\\"b\\\\c\\n\\u0001/\x7f\"");
  EXPECT_EQ(write(std::string_view("\0", 1)), R"("\u0000")");
}

TEST(JsonWriter, KeysAreTextToo) {
  EXPECT_EQ(write(Properties{{"a\"\xff", 1}}), "{\"a\\\"\xef\xbf\xbd\":1}");
}

TEST(ParseJson, ReadsEveryKind) {
  const auto value =
      parseJson(R"( {"n":null,"b":true,"i":-5,"d":2.0,"e":1e2,"s":"\u00fc\n","a":[1,[],{}]} )");
  ASSERT_TRUE(value && value->asProperties());
  const Properties& members = *value->asProperties();
  EXPECT_TRUE(members.find("n")->isNull());
  EXPECT_EQ(members.find("b")->asBool(), true);
  EXPECT_EQ(members.find("i")->asInt(), -5);
  EXPECT_EQ(members.find("d")->asDouble(), 2.0);
  EXPECT_EQ(members.find("e")->asDouble(), 100.0);
  EXPECT_EQ(members.find("s")->asString(), "\xc3\xbc\n");
  EXPECT_EQ(*members.find("a"), Value(Array{1, Array{}, Properties{}}));
}

TEST(ParseJson, IntegersThatDoNotFitBecomeDoubles) {
  EXPECT_EQ(parseJson("9223372036854775807")->asInt(), INT64_MAX);
  EXPECT_EQ(parseJson("-9223372036854775808")->asInt(), INT64_MIN);
  EXPECT_EQ(parseJson("9223372036854775808")->asDouble(), 9223372036854775808.0);
  EXPECT_EQ(parseJson("-9223372036854775809")->asDouble(), -9223372036854775808.0);
  EXPECT_EQ(parseJson("100000000000000000000")->asDouble(), 1e20);
}

TEST(ParseJson, DoublesAreTheNearestOnesToTheirText) {
  for (const char* zero : {"0E222", "-0.000e300", "1e-400", "0.0", "2e-324", "3e-99999999999"}) {
    EXPECT_EQ(parseJson(zero)->asDouble(), 0.0) << zero;
  }
  EXPECT_EQ(parseJson("5e-324")->asDouble(), std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(parseJson("1.7976931348623157E+308")->asDouble(), std::numeric_limits<double>::max());
  EXPECT_EQ(parseJson("0." + std::string(400, '0') + "1")->asDouble(), 0.0);
  EXPECT_FALSE(parseJson("-1.7976931348623159e308"));
  EXPECT_FALSE(parseJson(std::string(400, '9')));
}

TEST(ParseJson, RefusesWhatIsNotOneWholeValue) {
  using namespace std::string_view_literals;
  for (const auto text :
       {""sv,         "  "sv,          "{"sv,       "[1,]"sv,  "{\"a\":1,}"sv, "{\"a\"}"sv,
        "1 2"sv,      "nul"sv,         "\"abc"sv,   "'a'"sv,   "01"sv,         "NaN"sv,
        "1e999"sv,    "\"\\ud800\""sv, "// c\n1"sv, "{}\0x"sv, "{}\0"sv,       "\0"sv,
        "\"a\0b\""sv, "\xff{}"sv,      "]"sv,       "{]"sv,    "[}"sv}) {
    EXPECT_FALSE(parseJson(text)) << text;
  }
}

TEST(ParseJson, LastOfRepeatedKeysCounts) {
  EXPECT_EQ(parseJson(R"({"a":1,"b":2,"a":3})"), Value(Properties{{"a", 3}, {"b", 2}}));
}

TEST(ParseJson, ReplacesBytesThatAreNotUtf8) {
  EXPECT_EQ(parseJson("[\"a\xff z\"]"), Value(Array{"a\xef\xbf\xbd z"}));
}

std::string nested(std::size_t levels) {
  return std::string(levels, '[') + "7" + std::string(levels, ']');
}

TEST(ParseJson, CutsBelowTheDeepestLevel) {
  const auto atLimit = parseJson(nested(64));
  EXPECT_EQ(write(*atLimit), nested(64));
  const std::string marker = R"("[nested too deeply]")";
  EXPECT_EQ(write(*parseJson(nested(66))), std::string(64, '[') + marker + std::string(64, ']'));
  // What follows a skipped part is read again.
  EXPECT_EQ(
      write(*parseJson(std::string(64, '[') + R"({"a":[1,{"b":2}]},3)" + std::string(64, ']'))),
      std::string(64, '[') + marker + ",3" + std::string(64, ']'));
}

TEST(ParseJson, DeepTextOverflowsNoStack) {
  EXPECT_TRUE(parseJson(nested(1'000'000)));
  EXPECT_FALSE(parseJson(std::string(1'000'000, '[')));
}

}  // namespace
}  // namespace zarn::base
