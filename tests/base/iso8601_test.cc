#include "base/iso8601.h"

#include <gtest/gtest.h>

#include <random>

namespace zarn::base {
namespace {

using namespace std::chrono;

Milliseconds at(int y, unsigned m, unsigned d, milliseconds inDay = milliseconds{0}) {
  return sys_days(year(y) / static_cast<int>(m) / static_cast<int>(d)) + inDay;
}

TEST(Iso8601, WritesBothForms) {
  const Milliseconds time = at(2024, 2, 29, 16h + 5min + 7s + 42ms);
  EXPECT_EQ(iso8601Seconds(time).str(), "2024-02-29T16:05:07Z");
  EXPECT_EQ(iso8601Milliseconds(time).str(), "2024-02-29T16:05:07.042Z");
  EXPECT_EQ(iso8601Milliseconds(Date{}).str(), "1970-01-01T00:00:00.000Z");
  EXPECT_EQ(iso8601Seconds(at(9999, 12, 31, 24h - 1ms)).str(), "9999-12-31T23:59:59Z");
}

TEST(Iso8601, PartsOfASecondAreCutTowardsThePast) {
  EXPECT_EQ(iso8601Seconds(Date(-1ms)).str(), "1969-12-31T23:59:59Z");
  EXPECT_EQ(iso8601Milliseconds(Date(-1us)).str(), "1969-12-31T23:59:59.999Z");
  EXPECT_EQ(iso8601Milliseconds(Date(1999us)).str(), "1970-01-01T00:00:00.001Z");
}

TEST(Iso8601, TimesFarAwayAreClamped) {
  EXPECT_EQ(iso8601Milliseconds(Milliseconds::max()).str(), "9999-12-31T23:59:59.999Z");
  EXPECT_EQ(iso8601Milliseconds(Milliseconds::min()).str(), "0000-01-01T00:00:00.000Z");
  EXPECT_EQ(iso8601Seconds(Date::max()).str().size(), 20u);
  EXPECT_EQ(iso8601Seconds(Date::min()).str().size(), 20u);
  EXPECT_EQ(parseIso8601("9999-12-31T23:59:59Z"), Date::max());
  EXPECT_EQ(parseIso8601("0001-01-01T00:00:00.000Z"), Date::min());
}

TEST(Iso8601, ReadsWhatItWrites) {
  std::mt19937_64 random(11);
  for (int i = 0; i < 10'000; ++i) {
    const milliseconds offset(static_cast<std::int64_t>(random() % 9'000'000'000'000) -
                              4'000'000'000'000);
    const Date time{offset};
    ASSERT_EQ(parseIso8601(iso8601Milliseconds(time)), time);
    ASSERT_EQ(parseIso8601(iso8601Seconds(time)), floor<seconds>(time));
  }
}

TEST(Iso8601, ReadsOtherFractions) {
  const auto base = parseIso8601("2024-02-29T00:00:00Z");
  ASSERT_TRUE(base);
  EXPECT_EQ(parseIso8601("2024-02-29T00:00:00.5Z"), *base + 500ms);
  EXPECT_EQ(parseIso8601("2024-02-29T00:00:00.123456789Z"), *base + 123ms);
}

TEST(Iso8601, RefusesOtherText) {
  for (const char* text :
       {"", "2024", "2024-02-30T00:00:00Z", "2023-02-29T00:00:00Z", "2024-13-01T00:00:00Z",
        "2024-00-01T00:00:00Z", "2024-01-01T24:00:00Z", "2024-01-01T00:60:00Z",
        "2024-01-01T00:00:60Z", "2024-01-01 00:00:00Z", "2024-01-01T00:00:00",
        "2024-01-01T00:00:00+00:00", "2024-01-01T00:00:00.Z", "2024-01-01T00:00:00.1234567890Z",
        "2024-01-01T00:00:00Z ", "-024-01-01T00:00:00Z", "2024-01-01T00:00:00.12"}) {
    EXPECT_FALSE(parseIso8601(text)) << text;
  }
}

}  // namespace
}  // namespace zarn::base
