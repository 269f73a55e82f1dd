#include "desktop/life_events.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <vector>

namespace zarn::desktop {
namespace {

using platform::LifeEvent;

TEST(ProcessLifeEvents, TellsTheLastListenerOfTheEndOnce) {
  ProcessLifeEvents life;
  std::vector<LifeEvent> former;
  std::vector<LifeEvent> told;
  life.start([&](LifeEvent event) { former.push_back(event); });
  life.start([&](LifeEvent event) {
    told.push_back(event);
    life.terminate();  // exit handlers may run each other
  });
  life.terminate();
  life.terminate();
  EXPECT_EQ(told, std::vector{LifeEvent::willTerminate});
  EXPECT_TRUE(former.empty());
  life.start([&](LifeEvent event) { former.push_back(event); });
  life.terminate();
  EXPECT_TRUE(former.empty()) << "there is only one end";
}

TEST(ProcessLifeEvents, AListenerThatStopsInsideItsCallIsNotWaitedFor) {
  ProcessLifeEvents life;
  int calls = 0;
  life.start([&](LifeEvent) {
    ++calls;
    life.stop();
  });
  life.terminate();
  EXPECT_EQ(calls, 1);

  ProcessLifeEvents stopped;
  stopped.start([&](LifeEvent) { ++calls; });
  stopped.stop();
  stopped.terminate();
  EXPECT_EQ(calls, 1);
}

TEST(ProcessLifeEvents, StopWaitsForACallOnAnotherThread) {
  ProcessLifeEvents life;
  std::promise<void> begun;
  std::promise<void> mayEnd;
  std::atomic<bool> hasEnded = false;
  life.start([&](LifeEvent) {
    begun.set_value();
    mayEnd.get_future().wait();
    hasEnded = true;
  });
  std::thread exiting([&] { life.terminate(); });
  begun.get_future().wait();
  std::atomic<bool> hasStopped = false;
  std::thread stopping([&] {
    life.stop();
    EXPECT_TRUE(hasEnded);
    hasStopped = true;
  });
  EXPECT_FALSE(hasStopped);
  mayEnd.set_value();
  exiting.join();
  stopping.join();
  EXPECT_TRUE(hasStopped);
}

}  // namespace
}  // namespace zarn::desktop
