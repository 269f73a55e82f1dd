// NetworkGuard: every control-plane request and every delayed attempt goes through it, so that a
// privacy boundary can cancel all of them in one step and refuse what was prepared before it.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "base/closure.h"
#include "base/generation.h"
#include "base/mutex.h"
#include "base/serial_queue.h"
#include "base/weakly.h"
#include "platform/http.h"

namespace zarn::runtime {

class PrivacyState;

/// Any thread. Answers and delayed work run on the control queue.
class NetworkGuard {
 public:
  using NetworkGeneration = base::Generation<NetworkGuard>;
  using Token = NetworkGeneration::Token;

  NetworkGuard(platform::HttpClient& http, base::SerialQueue& controlQueue,
               const PrivacyState& privacy);
  ~NetworkGuard();

  Token current() const;

  /// Starts the request. False, and nothing started, when a boundary has come since `token` was
  /// read or the user has opted out. An answer that comes after a boundary is dropped.
  bool startGuardedTask(platform::HttpRequest request, Token token,
                        base::UniqueFunction<void(platform::HttpResult)> completion);
  /// Runs `work` after the delay, by the same rule.
  bool scheduleGuardedWork(base::Duration delay, Token token, base::Closure work);
  /// The boundary.
  void cancelAllGuarded();

 private:
  bool admitsLocked(Token token) const ZARN_REQUIRES(lock_);
  /// Whether what was recorded under `key` may still act; it is no longer recorded then.
  bool claimTask(std::uint64_t key);
  bool claimWork(std::uint64_t key);

  // Constant after construction.
  platform::HttpClient& http_;
  base::SerialQueue& controlQueue_;
  const PrivacyState& privacy_;

  mutable base::Mutex lock_{base::LockRank::networkGuard};
  NetworkGeneration generation_ ZARN_GUARDED_BY(lock_);
  std::uint64_t nextKey_ ZARN_GUARDED_BY(lock_) = 0;
  std::unordered_map<std::uint64_t, platform::HttpTaskId> tasks_ ZARN_GUARDED_BY(lock_);
  std::unordered_map<std::uint64_t, base::WorkItem> workItems_ ZARN_GUARDED_BY(lock_);
  base::Scope scope_;
};

}  // namespace zarn::runtime
