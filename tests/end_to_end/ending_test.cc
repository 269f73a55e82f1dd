// Processes end promptly and cleanly, in every way, with a request under way.
#include <gtest/gtest.h>

#include <chrono>

#include "support/child_process.h"
#include "support/collector_process.h"
#include "support/temp_directory.h"

namespace zarn {
namespace {

using testing::ChildEnd;
using testing::ChildProcess;
using testing::CollectorProcess;

#if defined(__has_feature)
#define ZARN_HAS_FEATURE(name) __has_feature(name)
#else
#define ZARN_HAS_FEATURE(name) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || \
    ZARN_HAS_FEATURE(address_sanitizer) || ZARN_HAS_FEATURE(thread_sanitizer)
constexpr std::chrono::seconds kPromptly(5);  // for sanitizers start and end slowly themselves
#else
constexpr std::chrono::seconds kPromptly(2);
#endif

class EndingTest : public ::testing::TestWithParam<const char*> {};

TEST_P(EndingTest, ComesPromptlyWithALiveConnection) {
  CollectorProcess collector;
  testing::TempDirectory data;
  constexpr int kRounds = 60;
  int slow = 0;
  for (int i = 0; i < kRounds; ++i) {
    if (i == kRounds / 2) collector.post("/api/collector/faults", R"({"kind":"hang"})");
    ChildProcess host(
        ENDING_HOST_PROGRAM,
        {.arguments = {collector.address(), data.path(), GetParam()}, .capturesErrors = true});
    const ChildEnd end = host.wait(std::chrono::seconds(20));
    ASSERT_TRUE(end.isClean()) << end << host.output();
    if (end.duration > kPromptly) ++slow;
  }
  EXPECT_LE(slow, kRounds / 10) << "the kernel may be writing for somebody else now and then";
}

INSTANTIATE_TEST_SUITE_P(Ways, EndingTest,
                         ::testing::Values("return", "exit", "destructor", "linger", "openssl",
                                           "fork", "fork-exec", "thread"),
                         [](const auto& way) {
                           std::string name = way.param;
                           std::erase(name, '-');
                           return name;
                         });

TEST(Ending, WhatAStaticDestructorTracksIsDeliveredByTheNextLaunch) {
  CollectorProcess collector;
  testing::TempDirectory data;
  for (const char* how : {"destructor", "linger", "linger", "linger"}) {
    ChildProcess host(ENDING_HOST_PROGRAM, {.arguments = {collector.address(), data.path(), how}});
    ASSERT_TRUE(host.wait(std::chrono::seconds(20)).isClean());
  }
  EXPECT_NE(
      collector.getJson("/api/collector/count?name=from%20a%20static%20destructor").find(":1"),
      std::string::npos);
}

}  // namespace
}  // namespace zarn
