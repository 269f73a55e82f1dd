#include "base/serial_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "desktop/dispatch.h"
#include "support/manual_dispatch.h"

namespace zarn::base {
namespace {

using namespace std::chrono_literals;

/// The executors on which a queue must behave alike. `settle` returns when nothing is left to do.
struct OnManual {
  testing::ManualClock clock;
  testing::ManualDispatch dispatch{clock};

  Executor& executor() { return dispatch.pool(); }
  void settle(SerialQueue&) { dispatch.runUntilIdle(); }
  void pass(Duration time) { dispatch.advance(time); }
};

struct OnThreads {
  desktop::ThreadDispatch dispatch;
  ~OnThreads() { EXPECT_TRUE(dispatch.stop(10s)); }

  Executor& executor() { return dispatch.pool(); }
  void settle(SerialQueue& queue) {
    std::promise<void> reached;
    queue.async([&] { reached.set_value(); });
    reached.get_future().wait();
  }
  void pass(Duration time) { std::this_thread::sleep_for(time + 20ms); }
};

template <typename Platform>
class SerialQueueTest : public ::testing::Test {
 protected:
  Platform platform_;
  std::vector<int> order_;  // used on the queue
};
using Platforms = ::testing::Types<OnManual, OnThreads>;
TYPED_TEST_SUITE(SerialQueueTest, Platforms);

TYPED_TEST(SerialQueueTest, RunsItemsInOrderWhoeverRunsThem) {
  SerialQueue queue(this->platform_.executor(), "q", LockRank::leaf);
  std::vector<int> expected;
  for (int i = 0; i < 300; ++i) {
    expected.push_back(i);
    const auto item = [this, i, &queue] {
      EXPECT_TRUE(queue.isCurrent());
      this->order_.push_back(i);
    };
    i % 7 == 6 ? queue.sync(item) : queue.async(item);
  }
  this->platform_.settle(queue);
  queue.sync([&] { EXPECT_EQ(this->order_, expected); });
  EXPECT_FALSE(queue.isCurrent());
}

TYPED_TEST(SerialQueueTest, SyncRunsOnTheCallersThreadAndInPlaceOnItsOwnQueues) {
  SerialQueue outer(this->platform_.executor(), "outer", LockRank::eventQueue);
  SerialQueue inner(this->platform_.executor(), "inner", LockRank::storeQueue);
  std::string trace;
  outer.sync([&, caller = std::this_thread::get_id()] {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    outer.async([&] { trace += " async"; });
    outer.sync([&] { trace += "own"; });
    inner.sync([&] { outer.sync([&] { trace += " through"; }); });
    trace += " end";
  });
  outer.sync([&] { EXPECT_EQ(trace, "own through end async"); });
  this->platform_.settle(outer);
}

TYPED_TEST(SerialQueueTest, AFailingItemStopsNeitherTheQueueNorTheProcess) {
  SerialQueue queue(this->platform_.executor(), "q", LockRank::leaf);
  queue.async([] { throw std::runtime_error("lost"); });
  queue.async([this] { this->order_.push_back(1); });
  this->platform_.settle(queue);
  EXPECT_THROW(queue.sync([] { throw std::runtime_error("seen"); }), std::runtime_error);
  queue.sync([this] { EXPECT_EQ(this->order_, std::vector<int>{1}); });
}

TYPED_TEST(SerialQueueTest, DelayedItemsRunUnlessTheirHandleEndsThemFirst) {
  SerialQueue queue(this->platform_.executor(), "q", LockRank::leaf);
  const auto record = [this](int value) {
    return [this, value] { this->order_.push_back(value); };
  };
  WorkItem later = queue.asyncAfter(60ms, record(2));
  WorkItem sooner = queue.asyncAfter(20ms, record(1));
  WorkItem cancelled = queue.asyncAfter(10ms, record(3));
  {
    const WorkItem dropped = queue.asyncAfter(10ms, record(4));
    WorkItem replaced = queue.asyncAfter(10ms, record(5));
    replaced = queue.asyncAfter(1h, record(6));
  }
  EXPECT_TRUE(cancelled.isPending());
  cancelled.cancel();
  EXPECT_FALSE(cancelled.isPending());
  this->platform_.pass(100ms);
  this->platform_.settle(queue);
  queue.sync([&] { EXPECT_EQ(this->order_, (std::vector<int>{1, 2})); });
  EXPECT_FALSE(later.isPending());
}

TYPED_TEST(SerialQueueTest, AnItemCancelledWhileItWaitsInTheQueueDoesNotRun) {
  SerialQueue queue(this->platform_.executor(), "q", LockRank::leaf);
  bool ran = false;
  WorkItem item;
  queue.sync([&] {
    item = queue.asyncAfter(0ms, [&] { ran = true; });
    this->platform_.pass(0ms);
    item.cancel();
  });
  this->platform_.settle(queue);
  queue.sync([&] { EXPECT_FALSE(ran); });
}

TYPED_TEST(SerialQueueTest, DyingDropsWhatHasNotBegunAndItMayDieOnItself) {
  auto queue = std::make_unique<SerialQueue>(this->platform_.executor(), "q", LockRank::leaf);
  auto carried = std::make_shared<int>();
  std::atomic<bool> ran = false;
  WorkItem later;
  queue->sync([&, queue = std::move(queue)]() mutable {
    queue->async([&ran, carried] { ran = true; });
    later = queue->asyncAfter(0ms, [&ran] { ran = true; });
    queue.reset();
    this->platform_.pass(0ms);  // its time comes after the queue's death
  });
  this->platform_.pass(0ms);
  EXPECT_FALSE(ran);
  EXPECT_EQ(carried.use_count(), 1);
}

// Interleavings, scripted: nothing runs but what the test runs.

TEST(SerialQueueOnManualTest, SyncNeedsNoThreadOfTheExecutor) {
  OnManual platform;
  SerialQueue queue(platform.executor(), "q", LockRank::leaf);
  std::vector<int> order;
  for (const int i : {1, 2}) queue.async([&order, i] { order.push_back(i); });
  EXPECT_EQ(queue.waitingCount(), 2u);
  queue.sync([&] { order.push_back(3); });
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));

  // The drain that was posted finds nothing, and the next item posts another one.
  EXPECT_TRUE(platform.dispatch.runOne());
  EXPECT_FALSE(platform.dispatch.runOne());
  queue.async([&] { order.push_back(4); });
  EXPECT_TRUE(platform.dispatch.runOne());
  EXPECT_EQ(order.back(), 4);
}

TEST(SerialQueueOnManualTest, OneTaskRunsOneItemSoThatOthersGetTheirTurn) {
  OnManual platform;
  SerialQueue first(platform.executor(), "first", LockRank::leaf);
  SerialQueue second(platform.executor(), "second", LockRank::leaf);
  std::string trace;
  for (int i = 0; i < 2; ++i) {
    first.async([&] { trace += 'a'; });
    second.async([&] { trace += 'b'; });
  }
  platform.dispatch.runUntilIdle();
  EXPECT_EQ(trace, "abab");
}

// Threads that meet: each test brings them to the meeting point before it looks.

void waitUntilWaiting(SerialQueue& queue, std::size_t count) {
  while (queue.waitingCount() < count) std::this_thread::yield();
}

TEST(SerialQueueOnThreadsTest, WaitingCallersTakeOverInTheOrderTheyCame) {
  OnManual platform;  // no thread of an executor helps
  SerialQueue queue(platform.executor(), "q", LockRank::leaf);
  std::vector<int> order;
  std::vector<std::thread> callers;
  std::thread::id helper;
  queue.sync([&] {
    queue.async([&] {
      order.push_back(0);
      helper = std::this_thread::get_id();
    });
    for (int i = 1; i <= 4; ++i) {
      callers.emplace_back([&, i] { queue.sync([&, i] { order.push_back(i); }); });
      waitUntilWaiting(queue, static_cast<std::size_t>(i) + 1);
    }
    queue.async([&] { order.push_back(5); });
  });
  const std::thread::id firstCaller = callers.front().get_id();
  for (auto& caller : callers) caller.join();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
  EXPECT_EQ(helper, firstCaller) << "the first waiting caller runs what waits before it";
  platform.dispatch.runUntilIdle();
  EXPECT_EQ(order.back(), 5);
}

TEST(SerialQueueOnThreadsTest, ACallerTakesItsPlaceWhileADrainIsRunning) {
  OnThreads platform;
  SerialQueue queue(platform.executor(), "q", LockRank::leaf);
  std::vector<int> order;
  std::promise<void> begun, go;
  queue.async([&] {
    begun.set_value();
    go.get_future().wait();
    order.push_back(1);
  });
  begun.get_future().wait();
  queue.async([&] { order.push_back(2); });
  std::thread caller([&] { queue.sync([&] { order.push_back(3); }); });
  waitUntilWaiting(queue, 2);
  queue.async([&] { order.push_back(4); });
  go.set_value();
  caller.join();
  queue.sync([&] { EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4})); });
}

TEST(SerialQueueOnThreadsTest, TheQueueMayDieWhileADrainIsRunning) {
  OnThreads platform;
  auto queue = std::make_unique<SerialQueue>(platform.executor(), "q", LockRank::leaf);
  std::promise<void> begun, go, ended;
  std::atomic<bool> ranNext = false;
  queue->async([&] {
    begun.set_value();
    go.get_future().wait();
    ended.set_value();
  });
  queue->async([&] { ranNext = true; });
  begun.get_future().wait();
  queue.reset();
  go.set_value();
  ended.get_future().wait();
  EXPECT_TRUE(platform.dispatch.stop(10s));
  EXPECT_FALSE(ranNext);
}

TEST(SerialQueueOnThreadsTest, ManyThreadsAtOnceExcludeEachOtherAndKeepTheirOwnOrder) {
  constexpr int kThreads = 4;
  constexpr int kItems = 3000;
  OnThreads platform;
  SerialQueue queue(platform.executor(), "q", LockRank::leaf);
  std::vector<int> last(kThreads, -1);  // by thread, used on the queue
  int total = 0;
  bool isInside = false;
  std::vector<std::thread> threads;
  for (int thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (int i = 0; i < kItems; ++i) {
        const auto item = [&, thread, i] {
          EXPECT_FALSE(std::exchange(isInside, true));
          EXPECT_EQ(std::exchange(last[thread], i), i - 1);
          ++total;
          isInside = false;
        };
        (i + thread) % 3 == 0 ? queue.sync(item) : queue.async(item);
        if (i % 100 == 0) WorkItem dropped = queue.asyncAfter(0ms, [] {});
      }
    });
  }
  for (auto& thread : threads) thread.join();
  queue.sync([&] { EXPECT_EQ(total, kThreads * kItems); });
}

#if defined(ZARN_LOCK_CHECKS)
TEST(SerialQueueDeathTest, QueuesAreEnteredInTheOrderOfTheirRanks) {
  OnManual platform;
  SerialQueue low(platform.executor(), "low", LockRank::eventQueue);
  SerialQueue high(platform.executor(), "high", LockRank::storeQueue);
  Mutex leaf(LockRank::leaf);
  EXPECT_DEATH(high.sync([&] { low.sync([] {}); }), "wrong lock order");
  EXPECT_DEATH(low.assertCurrent(), "belongs on a serial queue");
  const MutexLock lock(leaf);
  EXPECT_DEATH(low.sync([] {}), "wrong lock order");
  low.async([] {});  // handing over enters nothing
}
#endif

}  // namespace
}  // namespace zarn::base
