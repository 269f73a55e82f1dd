#include "sync_figures.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <mutex>

#include "base/serial_queue.h"
#include "desktop/dispatch.h"

namespace zarn::bench {
namespace {

constexpr int kRounds = 51;
constexpr int kCallsPerRound = 100'000;

template <typename F>
double nanosecondsPerCall(F&& call) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kCallsPerRound; ++i) call();
  const std::chrono::duration<double, std::nano> took = std::chrono::steady_clock::now() - start;
  return took.count() / kCallsPerRound;
}

}  // namespace

double syncIdleOverMutex() {
  // Programs with a single thread get cheaper locks from the C library: hosts have several.
  desktop::ThreadDispatch threads;
  threads.pool().post([] {});
  std::mutex mutex;
  base::SerialQueue queue(threads.pool(), "bench", base::LockRank::leaf);
  volatile int value = 0;
  std::array<double, kRounds> ratios;
  for (double& ratio : ratios) {
    const double bare = nanosecondsPerCall([&] {
      std::lock_guard lock(mutex);
      value = value + 1;
    });
    const double sync = nanosecondsPerCall([&] { queue.sync([&] { value = value + 1; }); });
    ratio = sync / bare;
  }
  std::nth_element(ratios.begin(), ratios.begin() + kRounds / 2, ratios.end());
  return ratios[kRounds / 2];
}

}  // namespace zarn::bench
