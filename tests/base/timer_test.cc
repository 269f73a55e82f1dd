#include "base/timer.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "support/manual_dispatch.h"

namespace zarn::base {
namespace {

class RepeatingTimerTest : public ::testing::Test {
 protected:
  testing::ManualClock clock_;
  testing::ManualDispatch dispatch_{clock_};
  SerialQueue queue_{dispatch_.pool(), "q", LockRank::leaf};
  std::vector<double> ticks_;  // when, in seconds

  void record() { ticks_.push_back(std::chrono::duration<double>(clock_.monotonic()).count()); }
};

TEST_F(RepeatingTimerTest, TicksOnTheQueueFromStartToStop) {
  RepeatingTimer timer(queue_, seconds(10), [this] {
    queue_.assertCurrent();
    record();
  });
  dispatch_.advance(20.0);
  timer.start();
  dispatch_.advance(35.0);
  EXPECT_EQ(ticks_, (std::vector<double>{30, 40, 50}));
  timer.start();  // anew
  dispatch_.advance(12.0);
  timer.stop();
  dispatch_.advance(100.0);
  EXPECT_EQ(ticks_, (std::vector<double>{30, 40, 50, 65}));
  EXPECT_EQ(dispatch_.pendingCount(), 0u);
}

TEST_F(RepeatingTimerTest, LateTicksAreNotMadeUpFor) {
  RepeatingTimer timer(queue_, seconds(10), [this] { record(); });
  timer.start();
  clock_.advance(seconds(45));
  dispatch_.runUntilIdle();
  EXPECT_EQ(ticks_, std::vector<double>{45});
  dispatch_.advance(10.0);
  EXPECT_EQ(ticks_, (std::vector<double>{45, 55}));
}

TEST_F(RepeatingTimerTest, ATickMayStopOrEndItsTimer) {
  auto timer = std::unique_ptr<RepeatingTimer>();
  timer = std::make_unique<RepeatingTimer>(queue_, seconds(1), [&] {
    record();
    ticks_.size() == 1 ? timer->stop() : timer.reset();
  });
  timer->start();
  dispatch_.advance(5.0);
  timer->start();
  dispatch_.advance(5.0);
  EXPECT_EQ(ticks_, (std::vector<double>{1, 6}));
  EXPECT_EQ(dispatch_.pendingCount(), 0u);
}

TEST_F(RepeatingTimerTest, ATickWhoseTimeHasComeButNotItsTurnIsStopped) {
  RepeatingTimer timer(queue_, seconds(1), [this] { record(); });
  timer.start();
  clock_.advance(seconds(1));
  ASSERT_TRUE(dispatch_.runOne());  // joins the queue
  EXPECT_EQ(queue_.waitingCount(), 1u);
  timer.stop();
  dispatch_.runUntilIdle();
  EXPECT_TRUE(ticks_.empty());
}

TEST_F(RepeatingTimerTest, SettingTheWallClockChangesNothing) {
  RepeatingTimer timer(queue_, seconds(10), [this] { record(); });
  timer.start();
  const Date before = clock_.now();
  clock_.jumpWall(seconds(-3600));
  dispatch_.advance(10.0);
  EXPECT_EQ(ticks_, std::vector<double>{10});
  EXPECT_EQ(clock_.now() - before, seconds(10 - 3600));
}

}  // namespace
}  // namespace zarn::base
