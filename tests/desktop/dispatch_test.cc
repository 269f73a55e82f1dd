#include "desktop/dispatch.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "desktop/thread.h"

namespace zarn::desktop {
namespace {

using namespace std::chrono_literals;

class DispatchTest : public ::testing::Test {
 protected:
  ~DispatchTest() override { EXPECT_TRUE(dispatch_.stop(10s)); }

  /// What `ask` answers on a thread of the executor.
  template <typename F>
  static auto resultOn(base::Executor& executor, F ask) {
    std::promise<decltype(ask())> answer;
    auto answered = answer.get_future();
    executor.post([&] { answer.set_value(ask()); });
    return answered.get();
  }

  ThreadDispatch dispatch_;
};

TEST_F(DispatchTest, ThePoolRunsTwoTasksAtOnceAndNoThird) {
  std::promise<void> go;
  const std::shared_future<void> gate = go.get_future().share();
  std::atomic<int> running = 0;
  std::promise<void> third;
  for (int i = 0; i < 2; ++i) {
    dispatch_.pool().post([&running, gate] {
      ++running;
      gate.wait();
    });
  }
  dispatch_.pool().post([&] { third.set_value(); });
  while (running < 2) std::this_thread::yield();
  auto thirdRan = third.get_future();
  EXPECT_EQ(thirdRan.wait_for(20ms), std::future_status::timeout);
  go.set_value();
  thirdRan.wait();
}

TEST_F(DispatchTest, MainAndOwnThreadsKnowThemselves) {
  const auto own = dispatch_.makeThread("own");
  base::Executor& main = dispatch_.main();
  EXPECT_TRUE(resultOn(main, [&] { return main.isCurrent() && !own->isCurrent(); }));
  EXPECT_TRUE(resultOn(*own, [&] { return own->isCurrent() && !main.isCurrent(); }));
  base::Executor& pool = dispatch_.pool();
  EXPECT_FALSE(resultOn(pool, [&] { return pool.isCurrent(); }));
  EXPECT_FALSE(main.isCurrent());
}

TEST_F(DispatchTest, ThreadsHaveNamesAndLeaveTheHostsSignalsAlone) {
  const auto own = dispatch_.makeThread("a-very-long-thread-name");
  const std::string name = resultOn(*own, [] {
    std::array<char, 16> text{};
    pthread_getname_np(pthread_self(), text.data(), text.size());
    return std::string(text.data());
  });
  EXPECT_EQ(name, "a-very-long-thr");
  const sigset_t mask = resultOn(dispatch_.pool(), [] {
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    return blocked;
  });
  for (const int signal : {SIGINT, SIGTERM, SIGCHLD, SIGALRM, SIGPROF, SIGPIPE, SIGUSR1}) {
    EXPECT_EQ(sigismember(&mask, signal), 1) << signal;
  }
  EXPECT_EQ(sigismember(&mask, SIGSEGV), 0) << "the host's crash handler must see our crashes";
}

TEST_F(DispatchTest, DelayedTasksRunInTheOrderOfTheirTimes) {
  std::vector<int> order;
  std::promise<void> last;
  base::Executor& main = dispatch_.main();
  main.postAfter(40ms, [&] {
    order.push_back(3);
    last.set_value();
  });
  const base::TaskId cancelled = main.postAfter(30ms, [&] { order.push_back(9); });
  main.postAfter(20ms, [&] { order.push_back(2); });
  main.postAfter(-5ms, [&] { order.push_back(1); });
  EXPECT_TRUE(main.cancel(cancelled));
  EXPECT_FALSE(main.cancel(cancelled));
  last.get_future().wait();
  EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST_F(DispatchTest, ADelayedTaskIsOnTimeThoughAnotherThreadIsBusyOrIdle) {
  base::Executor& pool = dispatch_.pool();
  std::promise<void> release, begun, fired;
  const auto start = std::chrono::steady_clock::now();
  pool.postAfter(1h, [] {});  // somebody keeps the time
  pool.post([&] {
    begun.set_value();
    release.get_future().wait();
  });
  begun.get_future().wait();
  pool.postAfter(10ms, [&] { fired.set_value(); });
  fired.get_future().wait();
  EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
  release.set_value();
}

TEST_F(DispatchTest, AThrowingTaskEndsNeitherThreadNorProcess) {
  dispatch_.main().post([] { throw std::runtime_error("lost"); });
  EXPECT_EQ(resultOn(dispatch_.main(), [] { return 5; }), 5);
}

TEST_F(DispatchTest, IdleThreadsStayAsleep) {
  const auto switches = [] {
    rusage usage;
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
  };
  dispatch_.main().postAfter(1h, [] {});
  const long before = resultOn(dispatch_.main(), switches);
  std::this_thread::sleep_for(100ms);
  EXPECT_LE(resultOn(dispatch_.main(), switches) - before, 3);
}

TEST_F(DispatchTest, StoppingIsBoundedAndLaterTasksAreDropped) {
  auto carried = std::make_shared<int>();
  std::promise<void> begun, release;
  const auto own = dispatch_.makeThread("own");
  own->post([&] {
    begun.set_value();
    release.get_future().wait();
  });
  begun.get_future().wait();
  EXPECT_FALSE(dispatch_.stop(1ms));
  own->post([carried] {});
  EXPECT_EQ(own->postAfter(0ms, [carried] {}), 0u);
  EXPECT_EQ(carried.use_count(), 1);
  release.set_value();
  EXPECT_TRUE(dispatch_.stop(10s));
}

TEST_F(DispatchTest, AnExecutorThatDiesDropsWhatHasNotBegunAndDoesNotWait) {
  auto carried = std::make_shared<int>();
  auto begun = std::make_shared<std::promise<void>>();
  std::promise<void> release;
  auto own = dispatch_.makeThread("own");
  own->post([begun, gate = release.get_future().share()] {
    begun->set_value();
    gate.wait();
  });
  own->post([carried] { ++*carried; });
  own->postAfter(1h, [carried] {});
  begun->get_future().wait();
  own.reset();
  EXPECT_EQ(carried.use_count(), 1);
  EXPECT_EQ(*carried, 0);
  release.set_value();
}

TEST(ThreadTest, JoiningEndsInTimeOrWithTheThread) {
  std::promise<void> release;
  Thread thread = Thread::start("t", [&] { release.get_future().wait(); });
  ASSERT_TRUE(thread);
  EXPECT_FALSE(thread.join(1ms));
  release.set_value();
  EXPECT_TRUE(thread.join(10s));
  EXPECT_FALSE(thread);
  EXPECT_TRUE(thread.join(0ms));
}

}  // namespace
}  // namespace zarn::desktop
