#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "support/child_process.h"
#include "support/loopback_server.h"

namespace zarn::testing {
namespace {

using namespace std::chrono_literals;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
#define ZARN_IS_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
#define ZARN_IS_SANITIZED 1
#endif
#endif

#if defined(ZARN_IS_SANITIZED)
constexpr int kRounds = 4;
constexpr auto kLongestEnd = 15s;
#else
constexpr int kRounds = 30;
constexpr auto kLongestEnd = 2s;  // the budget is 0.2 s, and other tests share the machine
#endif

/// Each way is taken this often: ends go wrong by chance, in a fraction of them.
int rounds() {
  const char* const chosen = std::getenv("ZARN_EXIT_ROUNDS");
  return chosen ? std::atoi(chosen) : kRounds;
}

class ExitTest : public ::testing::TestWithParam<const char*> {
 protected:
  LoopbackServer server_;
};

TEST_P(ExitTest, AHostEndsPromptlyAndCleanlyWhateverIsUnderWay) {
  const std::string url = server_.url("/");
  const std::string withoutScheme = url.substr(url.find(':'));
  const bool storesLate = GetParam() == std::string("static-destructor");
  for (int round = 0; round < rounds(); ++round) {
    ChildProcess host(ZARN_EXIT_HOST,
                      {.arguments = {GetParam(), withoutScheme}, .capturesErrors = true});
    ASSERT_EQ(host.readLine(20s), "alive") << host.output();
    const auto leaves = std::chrono::steady_clock::now();
    const ChildEnd end = host.wait(20s);
    const auto took = std::chrono::steady_clock::now() - leaves;
    ASSERT_TRUE(end.isClean()) << end << " in round " << round << ": " << host.output();
    EXPECT_EQ(host.output(), storesLate ? "stored\nstored\n" : "");
    EXPECT_LT(took, kLongestEnd);
  }
}

INSTANTIATE_TEST_SUITE_P(Ways, ExitTest,
                         ::testing::Values("return", "exit", "_exit", "exit-on-main",
                                           "static-destructor", "openssl-first", "fork",
                                           "fork-exec"),
                         [](const auto& way) {
                           std::string name = way.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace
}  // namespace zarn::testing
