#include "runtime/network_guard.h"

#include <utility>

#include "runtime/privacy_state.h"

namespace zarn::runtime {

NetworkGuard::NetworkGuard(platform::HttpClient& http, base::SerialQueue& controlQueue,
                           const PrivacyState& privacy)
    : http_(http), controlQueue_(controlQueue), privacy_(privacy) {}

NetworkGuard::~NetworkGuard() {
  scope_.close();
  cancelAllGuarded();
}

NetworkGuard::Token NetworkGuard::current() const {
  base::MutexLock lock(lock_);
  return generation_.current();
}

bool NetworkGuard::admitsLocked(Token token) const {
  return token == generation_.current() && !privacy_.optedOut();
}

bool NetworkGuard::claimTask(std::uint64_t key) {
  base::MutexLock lock(lock_);
  return tasks_.erase(key) > 0 && !privacy_.optedOut();
}

bool NetworkGuard::claimWork(std::uint64_t key) {
  base::MutexLock lock(lock_);
  return workItems_.erase(key) > 0 && !privacy_.optedOut();
}

bool NetworkGuard::startGuardedTask(platform::HttpRequest request, Token token,
                                    base::UniqueFunction<void(platform::HttpResult)> completion) {
  base::MutexLock lock(lock_);
  if (!admitsLocked(token)) return false;
  const auto key = ++nextKey_;
  tasks_[key] = http_.start(std::move(request), controlQueue_,
                            base::weakly(scope_, [this, key, completion = std::move(completion)](
                                                     platform::HttpResult result) mutable {
                              if (claimTask(key)) completion(std::move(result));
                            }));
  return true;
}

bool NetworkGuard::scheduleGuardedWork(base::Duration delay, Token token, base::Closure work) {
  base::MutexLock lock(lock_);
  if (!admitsLocked(token)) return false;
  const auto key = ++nextKey_;
  workItems_[key] = controlQueue_.asyncAfter(
      delay, base::weakly(scope_, [this, key, work = std::move(work)]() mutable {
        if (claimWork(key)) work();
      }));
  return true;
}

void NetworkGuard::cancelAllGuarded() {
  std::unordered_map<std::uint64_t, platform::HttpTaskId> tasks;
  std::unordered_map<std::uint64_t, base::WorkItem> workItems;
  {
    base::MutexLock lock(lock_);
    generation_.bump();
    tasks.swap(tasks_);
    workItems.swap(workItems_);
  }
  for (const auto& [key, task] : tasks) http_.cancel(task);
}

}  // namespace zarn::runtime
