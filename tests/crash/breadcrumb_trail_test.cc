#include "crash/breadcrumb_trail.h"

#include <gtest/gtest.h>

#include <thread>

#include "base/iso8601.h"

namespace zarn::crash {
namespace {

Date at(std::string_view text) {
  return *base::parseIso8601(text);
}

TEST(BreadcrumbTrail, KeepsTheLastHundredInOrderWhoeverLeavesThem) {
  BreadcrumbTrail trail;
  for (int i = 0; i <= 100; ++i) {
    trail.add({.category = "ui", .message = std::to_string(i)}, at("2030-01-01T00:00:00.250Z"));
  }
  const auto kept = trail.trail();
  ASSERT_EQ(kept.size(), 100u);
  EXPECT_EQ(kept.front().crumb.message, "1");
  EXPECT_EQ(kept.back().crumb.message, "100");
  EXPECT_EQ(kept.back().timestamp, "2030-01-01T00:00:00.250Z");

  std::thread other([&] {
    for (int i = 0; i < 500; ++i) trail.add({.category = "a"}, Date());
  });
  for (int i = 0; i < 500; ++i) trail.add({.category = "b"}, Date());
  other.join();
  EXPECT_EQ(trail.trail().size(), 100u);
}

TEST(BreadcrumbTrail, ABreadcrumbIsReadAsItWasWritten) {
  const TimedBreadcrumb written{
      .timestamp = "2030-01-01T00:00:00.000Z",
      .crumb = {.category = "ui",
                .message = "Tap: \"Buy\"",
                .data = {{"target_class", "Button"}, {"path", Array{"Window", 2}}},
                .level = "warning"}};
  const auto json = encodeBreadcrumb(written);
  EXPECT_EQ(json,
            R"({"timestamp":"2030-01-01T00:00:00.000Z","category":"ui","message":"Tap: \"Buy\"",)"
            R"("data":{"target_class":"Button","path":["Window",2]},"level":"warning"})");
  const auto read = decodeBreadcrumb(json);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->crumb.data, written.crumb.data);
  EXPECT_EQ(encodeBreadcrumb(*read), json);

  const auto plain = decodeBreadcrumb(encodeBreadcrumb({"t", {.category = "c", .message = "m"}}));
  ASSERT_TRUE(plain);
  EXPECT_TRUE(plain->crumb.data.empty());
  for (const char* bad :
       {"", "[]", R"({"timestamp":"t","category":"c","message":"m"})",
        R"({"timestamp":1,"category":"c","message":"m","level":"info"})",
        R"({"timestamp":"t","category":"c","message":"m","level":"l","data":[]})"}) {
    EXPECT_FALSE(decodeBreadcrumb(bad)) << bad;
  }
}

}  // namespace
}  // namespace zarn::crash
