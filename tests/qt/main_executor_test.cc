#include "qt/main_executor.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QEventLoop>
#include <QTest>
#include <atomic>
#include <chrono>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "desktop/dispatch.h"
#include "qt/gui_thread.h"

namespace zarn::qt {
namespace {

using namespace std::chrono_literals;

class MainExecutorTest : public ::testing::Test {
 protected:
  ~MainExecutorTest() override { EXPECT_TRUE(dispatch_.stop(10s)); }

  base::Closure note(std::string what) {
    return [this, what = std::move(what)] {
      EXPECT_TRUE(executor_.isCurrent());
      EXPECT_TRUE(onGuiThread());
      order_.push_back(what);
    };
  }
  bool waitFor(std::size_t count) {
    return QTest::qWaitFor([&] { return order_.size() >= count; }, 5000);
  }

  desktop::ThreadDispatch dispatch_;
  MainExecutor executor_;
  std::vector<std::string> order_;
};

TEST_F(MainExecutorTest, RunsInTheLoopInOrderWhateverTheThread) {
  executor_.post(note("first"));
  std::thread([&] { executor_.post(note("second")); }).join();
  executor_.post([&] {
    executor_.post(note("fourth"));
    order_.push_back("third");
    throw std::runtime_error("is contained");
  });
  EXPECT_TRUE(order_.empty()) << "never inside the call";
  ASSERT_TRUE(waitFor(4));
  EXPECT_EQ(order_, (std::vector<std::string>{"first", "second", "third", "fourth"}));
}

TEST_F(MainExecutorTest, DelayedTasksComeWhenTheyAreDueUnlessCancelled) {
  const auto start = std::chrono::steady_clock::now();
  executor_.postAfter(40ms, note("late"));
  std::thread([&] { executor_.postAfter(10ms, note("early")); }).join();
  const base::TaskId cancelled = executor_.postAfter(5ms, note("never"));
  executor_.postAfter(-1s, note("at once"));
  EXPECT_TRUE(executor_.cancel(cancelled));
  EXPECT_FALSE(executor_.cancel(cancelled));
  ASSERT_TRUE(waitFor(3));
  EXPECT_EQ(order_, (std::vector<std::string>{"at once", "early", "late"}));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 40ms);
}

TEST_F(MainExecutorTest, ATaskWithALoopOfItsOwnHoldsNobodyUp) {
  QEventLoop dialog;
  bool isShowing = false;
  executor_.post([&] {
    isShowing = true;
    dialog.exec();
    order_.push_back("closed");
  });
  executor_.post([&] {
    EXPECT_TRUE(isShowing);
    order_.push_back("behind it");
    dialog.quit();
  });
  ASSERT_TRUE(waitFor(2));
  EXPECT_EQ(order_, (std::vector<std::string>{"behind it", "closed"}));
}

TEST_F(MainExecutorTest, WhatIsLeftAtTheLoopsEndGoesOnElsewhere) {
  executor_.continueOn(dispatch_.main());
  std::promise<void> delayed, later;
  executor_.post([&] {
    order_.push_back("waited");
    executor_.post(note("posted by it"));
  });
  executor_.postAfter(20ms, [&] {
    EXPECT_TRUE(executor_.isCurrent());
    EXPECT_FALSE(onGuiThread());
    delayed.set_value();
  });
  const base::TaskId cancelled = executor_.postAfter(10ms, [&] { ADD_FAILURE(); });
  executor_.endLoop(true);
  EXPECT_EQ(order_, (std::vector<std::string>{"waited", "posted by it"}));
  EXPECT_FALSE(executor_.isCurrent());
  EXPECT_TRUE(executor_.cancel(cancelled));
  executor_.endLoop(true);
  // No loop runs here any more.
  ASSERT_EQ(delayed.get_future().wait_for(10s), std::future_status::ready);
  executor_.post([&] { later.set_value(); });
  EXPECT_EQ(later.get_future().wait_for(10s), std::future_status::ready);
}

TEST_F(MainExecutorTest, AnAppThatDiesWithoutALoopRunsNothingAnyMore) {
  executor_.continueOn(dispatch_.main());
  std::promise<bool> ran;
  executor_.post([&] { ran.set_value(onGuiThread()); });
  executor_.endLoop(false);
  EXPECT_FALSE(ran.get_future().get());
  QCoreApplication::processEvents();  // the event that was on its way does no harm
}

}  // namespace
}  // namespace zarn::qt
