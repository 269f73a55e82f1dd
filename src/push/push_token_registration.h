// PushTokenRegistration: hands the device's push token to the server, once a token, so that the
// server can send messages to this user. The raw token is in the request's body alone: events hold
// its digest, and nothing is written down.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

#include "base/generation.h"
#include "base/mutex.h"
#include "base/serial_queue.h"
#include "base/weakly.h"
#include "model/configuration.h"
#include "model/event.h"
#include "platform/device.h"
#include "platform/http.h"
#include "platform/log.h"
#include "runtime/network_guard.h"
#include "zarn/push.h"
#include "zarn/value.h"

namespace zarn::model {
struct RemoteDataCollectionConfig;
}
namespace zarn::platform {
class Crypto;
}

namespace zarn::push {

/// Whom a token is registered for; what is absent or empty is not sent.
struct PushRegistrant {
  std::string deviceId;
  std::optional<std::string> userId, appId, releaseId;
};

/// What registration asks of the rest; called on its queue.
struct PushTokenPorts {
  /// Whether user and server allow it now: not opted out, no policy awaited after an opt-in, not
  /// paused.
  std::function<bool()> mayRegister;
  /// The policy in force, or null before the first.
  std::function<std::shared_ptr<const model::RemoteDataCollectionConfig>()> latestRemoteConfig;
  /// Read anew for each attempt.
  std::function<PushRegistrant()> registrant;
  /// False when the event was dropped.
  std::function<bool(model::EventType, std::string_view name, const Properties&)> admit;
};

/// Any thread. A call returns at once; its work is done on a queue of its own.
class PushTokenRegistration {
 public:
  static constexpr std::size_t kLongestToken = 4096;  // bytes; longer ones are refused

  PushTokenRegistration(const model::Configuration& configuration, const platform::AppFacts& app,
                        base::Executor& executor, platform::Crypto& crypto,
                        runtime::NetworkGuard& guard, PushTokenPorts ports, platform::Log log);

  /// Sends nothing when the token is registered already or about to be. Three attempts; once they
  /// have failed or an opt-out has cancelled them, the next call tries again.
  void setPushToken(std::string_view token, PushProvider provider);
  /// The token is registered no more, nor about to be: the next setPushToken sends again.
  void logPushTokenInvalidated(std::string_view token, PushProvider provider);

  /// The user has gone: nothing that was asked for before is sent once this returns, and no late
  /// answer counts. May wait for an event that is just being stored; the caller holds no lock that
  /// admission takes.
  void forgetUser();

 private:
  using Users = base::Generation<PushTokenRegistration>;
  struct Call {
    std::string token;
    PushProvider provider;
    Users::Token user;
    runtime::NetworkGuard::Token network;
  };
  /// One registration, from claim to end. It travels with the work that is to carry on; when that
  /// work is dropped the token is free for another try.
  class Run;

  using Step = void (PushTokenRegistration::*)(Call);
  void post(std::string_view caller, std::string_view token, PushProvider provider, Step step);
  /// Whether the user has gone or opted out since.
  bool isVoid(const Call& call) const;
  /// Whether neither the user has gone nor the token been withdrawn since.
  bool isPendingLocked(const Run& run) const ZARN_REQUIRES(pushTokenDedupLock_);
  bool mayCollect(std::string_view caller) const;

  void begin(Call call);
  void invalidate(Call call);
  /// Null when the token is registered, is being registered, or belongs to a user who has gone.
  std::unique_ptr<Run> claim(Call call);
  void release(std::size_t hash, Users::Token user);
  void send(std::unique_ptr<Run> run);
  void answered(std::unique_ptr<Run> run, const platform::HttpResult& result);
  void retryOrGiveUp(std::unique_ptr<Run> run, std::string_view outcome, bool isRetryable);
  platform::HttpRequest makeRequest(const Run& run) const;

  // Constant after construction.
  const model::Configuration configuration_;
  const std::string bundleId_;
  platform::Crypto& crypto_;
  runtime::NetworkGuard& guard_;
  const PushTokenPorts ports_;
  const platform::Log log_;

  mutable base::Mutex pushTokenDedupLock_{base::LockRank::leaf};
  Users users_ ZARN_GUARDED_BY(pushTokenDedupLock_);
  std::optional<std::size_t> lastPushTokenHash_ ZARN_GUARDED_BY(pushTokenDedupLock_);
  std::unordered_set<std::size_t> pendingPushTokenHashes_ ZARN_GUARDED_BY(pushTokenDedupLock_);

  base::SerialQueue queue_;
  base::Scope scope_;  // first to go: waits for what runs
};

}  // namespace zarn::push
