#include "base/weakly.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace zarn::base {
namespace {

TEST(WeaklyTest, CallsPassUntilTheScopeCloses) {
  auto scope = std::make_unique<Scope>();
  int sum = 0;
  auto add =
      weakly(*scope, [&sum, step = std::make_unique<int>(3)](int times) { sum += *step * times; });
  add(2);
  EXPECT_EQ(sum, 6);
  scope->close();
  add(2);
  scope.reset();
  add(2);
  EXPECT_EQ(sum, 6);
}

TEST(WeaklyTest, ClosingWaitsForACallOnAnotherThread) {
  auto value = std::make_unique<int>(1);
  Scope scope;
  std::promise<void> begun, go;
  std::thread caller(weakly(scope, [&] {
    begun.set_value();
    go.get_future().wait();
    ++*value;
  }));
  begun.get_future().wait();
  std::thread releaser([&] { go.set_value(); });
  scope.close();
  EXPECT_EQ(*value, 2);
  value.reset();
  caller.join();
  releaser.join();
}

TEST(WeaklyTest, ACallMayCloseTheScopeItRunsIn) {
  auto scope = std::make_unique<Scope>();
  bool ranInner = false;
  bool ranAfter = false;
  auto after = weakly(*scope, [&] { ranAfter = true; });
  auto inner = weakly(*scope, [&] {
    scope.reset();
    ranInner = true;
  });
  weakly(*scope, [&] { inner(); })();
  after();
  EXPECT_TRUE(ranInner);
  EXPECT_FALSE(ranAfter);
}

TEST(WeaklyTest, TwoCallsThatCloseTheirScopeDoNotWaitForEachOther) {
  Scope scope;
  std::atomic<int> inside = 0;
  const auto closeTogether = [&] {
    ++inside;
    while (inside < 2) std::this_thread::yield();
    scope.close();
  };
  std::thread first(weakly(scope, closeTogether));
  std::thread second(weakly(scope, closeTogether));
  first.join();
  second.join();
  scope.close();
}

TEST(WeaklyTest, NoCallOutlivesItsScopeWhoeverCalls) {
  for (int round = 0; round < 200; ++round) {
    auto owner = std::make_unique<int>(0);
    auto scope = std::make_unique<Scope>();
    std::vector<std::thread> callers;
    for (int i = 0; i < 2; ++i) {
      auto call = weakly(*scope, [&owner] { EXPECT_NE(owner, nullptr); });
      callers.emplace_back([call]() mutable {
        for (int n = 0; n < 50; ++n) call();
      });
    }
    scope.reset();
    owner.reset();
    for (auto& caller : callers) caller.join();
  }
}

}  // namespace
}  // namespace zarn::base
