// What a serial queue costs a caller, beside the bare mutex that it replaces.
#include <benchmark/benchmark.h>

#include <mutex>

#include "base/serial_queue.h"
#include "desktop/dispatch.h"

namespace zarn {
namespace {

// Programs with a single thread get cheaper locks from the C library: hosts have several.
desktop::ThreadDispatch& dispatch() {
  static auto* const threads = [] {
    auto* made = new desktop::ThreadDispatch;
    made->pool().post([] {});
    return made;
  }();
  return *threads;
}

void bareMutex(benchmark::State& state) {
  dispatch();
  std::mutex mutex;
  int value = 0;
  for (auto _ : state) {
    mutex.lock();
    benchmark::DoNotOptimize(++value);
    mutex.unlock();
  }
}
BENCHMARK(bareMutex);

void idleSync(benchmark::State& state) {
  base::SerialQueue queue(dispatch().pool(), "bench", base::LockRank::leaf);
  int value = 0;
  for (auto _ : state) {
    queue.sync([&] { benchmark::DoNotOptimize(++value); });
  }
}
BENCHMARK(idleSync);

void nestedSync(benchmark::State& state) {
  base::SerialQueue queue(dispatch().pool(), "bench", base::LockRank::leaf);
  int value = 0;
  queue.sync([&] {
    for (auto _ : state) {
      queue.sync([&] { benchmark::DoNotOptimize(++value); });
    }
  });
}
BENCHMARK(nestedSync);

void asyncThenSync(benchmark::State& state) {
  base::SerialQueue queue(dispatch().pool(), "bench", base::LockRank::leaf);
  int value = 0;
  for (auto _ : state) {
    queue.async([&] { benchmark::DoNotOptimize(++value); });
    queue.sync([&] { benchmark::DoNotOptimize(++value); });
  }
}
BENCHMARK(asyncThenSync);

void asyncDrainedByThePool(benchmark::State& state) {
  base::SerialQueue queue(dispatch().pool(), "bench", base::LockRank::leaf);
  int value = 0;
  for (auto _ : state) {
    for (int i = 0; i < 1000; ++i) {
      queue.async([&] { benchmark::DoNotOptimize(++value); });
    }
    queue.sync([] {});
  }
  state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(asyncDrainedByThePool)->UseRealTime();

}  // namespace
}  // namespace zarn
