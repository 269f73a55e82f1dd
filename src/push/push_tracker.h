// PushTracker: turns what becomes of push messages into events: received, opened, dismissed,
// answered. A message that is reported twice, by the system and by the host, is told once.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/mutex.h"
#include "model/event.h"
#include "platform/log.h"
#include "platform/notifications.h"
#include "push/push_payload_sanitizer.h"
#include "zarn/value.h"

namespace zarn::platform {
class Clock;
}

namespace zarn::push {

/// One event, and what of the message no event may hold.
struct PushEvent {
  model::EventType type;
  Properties properties;
  /// Of an opening only.
  std::optional<std::string> deepLink = std::nullopt;
  std::optional<std::string> sendId = std::nullopt;
};

/// Any thread. Remembers the last 100 messages, in memory only.
class PushTracker final : public platform::NotificationListener {
 public:
  /// False when the event was dropped.
  using Handler = std::function<bool(const PushEvent&)>;

  PushTracker(platform::Clock& clock, platform::Crypto& crypto, platform::Random& random,
              const redaction::PiiFilter& filter, Handler handler, platform::Log log);

  void received(const Properties& userInfo, std::string_view appState) override;
  void responded(const Properties& userInfo,
                 const platform::NotificationResponse& response) override;

  // The same, as hosts report it themselves.
  void opened(const Properties& userInfo, std::string_view actionIdentifier);
  void dismissed(const Properties& userInfo);
  void acted(const Properties& userInfo, std::string_view actionIdentifier);

  /// A limit that is absent stays as it is.
  void setLimits(const control::PushLimits& limits);

 private:
  struct Receipt {
    std::string pushId;
    std::int64_t receivedAtMs;
  };
  struct Interaction;

  SanitizedPush sanitized(const Properties& userInfo) const;
  void told(const Properties& userInfo, std::string_view actionIdentifier,
            const Interaction& interaction);
  const Receipt* find(std::string_view pushId) const ZARN_REQUIRES(cacheLock_);
  void forget(std::string_view pushId);
  std::int64_t nowMs() const;

  // Constant after construction.
  platform::Clock& clock_;
  platform::Crypto& crypto_;
  platform::Random& random_;
  const redaction::PiiFilter& filter_;
  const Handler handler_;
  const platform::Log log_;

  mutable base::Mutex cacheLock_{base::LockRank::leaf};
  ContentRules rules_ ZARN_GUARDED_BY(cacheLock_);
  std::deque<Receipt> receivedCache_ ZARN_GUARDED_BY(cacheLock_);  // newest last
};

}  // namespace zarn::push
