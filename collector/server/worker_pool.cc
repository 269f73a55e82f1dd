#include "server/worker_pool.h"

namespace zarn::collector {

void WorkerPool::post(std::function<void()> work) {
  const std::lock_guard lock(mutex_);
  work_.push_back(std::move(work));
  if (idle_ < work_.size() && threads_.size() < mostThreads_) {
    threads_.emplace_back([this] { run(); });
  }
  posted_.notify_one();
}

void WorkerPool::run() {
  std::unique_lock lock(mutex_);
  while (true) {
    ++idle_;
    posted_.wait(lock, [this] { return finished_ || !work_.empty(); });
    --idle_;
    if (work_.empty()) return;
    const std::function<void()> work = std::move(work_.front());
    work_.pop_front();
    lock.unlock();
    work();
    lock.lock();
  }
}

void WorkerPool::finish() {
  std::vector<std::thread> threads;
  {
    const std::lock_guard lock(mutex_);
    finished_ = true;
    threads.swap(threads_);
  }
  posted_.notify_all();
  for (std::thread& thread : threads) thread.join();
}

}  // namespace zarn::collector
