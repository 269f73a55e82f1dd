// Threads for connections, made as they are needed: a connection keeps its thread for as long as it
// lives, and requests that hang or listeners of the live feed must not starve the others.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace zarn::collector {

class WorkerPool {
 public:
  explicit WorkerPool(std::size_t mostThreads) : mostThreads_(mostThreads) {}
  ~WorkerPool() { finish(); }

  void post(std::function<void()> work);
  /// Does what has been posted, then ends the threads.
  void finish();

 private:
  void run();

  const std::size_t mostThreads_;
  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<std::function<void()>> work_;  // guarded by mutex_
  std::vector<std::thread> threads_;        // guarded by mutex_
  std::size_t idle_ = 0;                    // guarded by mutex_
  bool finished_ = false;                   // guarded by mutex_
};

}  // namespace zarn::collector
