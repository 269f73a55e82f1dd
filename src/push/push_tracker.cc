#include "push/push_tracker.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "base/value_access.h"
#include "platform/clock.h"

namespace zarn::push {
namespace {

constexpr std::size_t kMostRemembered = 100;

using model::EventType;

}  // namespace

struct PushTracker::Interaction {
  EventType type;
  std::string_view word;

  static const Interaction kOpen, kDismiss, kCustomAction, kTextReply;
};
constexpr PushTracker::Interaction PushTracker::Interaction::kOpen{EventType::pushOpen, "default"};
constexpr PushTracker::Interaction PushTracker::Interaction::kDismiss{EventType::pushDismissed,
                                                                      "dismiss"};
constexpr PushTracker::Interaction PushTracker::Interaction::kCustomAction{EventType::pushAction,
                                                                           "custom_action"};
constexpr PushTracker::Interaction PushTracker::Interaction::kTextReply{EventType::pushAction,
                                                                        "text_reply"};

PushTracker::PushTracker(platform::Clock& clock, platform::Crypto& crypto, platform::Random& random,
                         const redaction::PiiFilter& filter, Handler handler, platform::Log log)
    : clock_(clock),
      crypto_(crypto),
      random_(random),
      filter_(filter),
      handler_(std::move(handler)),
      log_(log) {}

void PushTracker::setLimits(const control::PushLimits& limits) {
  const auto replace = [](std::size_t& limit, const std::optional<std::int64_t>& by) {
    if (by) limit = static_cast<std::size_t>(*by);
  };
  base::MutexLock lock(cacheLock_);
  rules_.mode = limits.mode;
  replace(rules_.titleLimit, limits.titlePreviewChars);
  replace(rules_.bodyLimit, limits.bodyPreviewChars);
}

SanitizedPush PushTracker::sanitized(const Properties& userInfo) const {
  ContentRules rules;
  {
    base::MutexLock lock(cacheLock_);
    rules = rules_;
  }
  return sanitize(userInfo, rules, filter_, crypto_, random_);
}

const PushTracker::Receipt* PushTracker::find(std::string_view pushId) const {
  const auto found = std::find_if(receivedCache_.rbegin(), receivedCache_.rend(),
                                  [&](const Receipt& receipt) { return receipt.pushId == pushId; });
  return found != receivedCache_.rend() ? &*found : nullptr;
}

std::int64_t PushTracker::nowMs() const {
  return std::chrono::floor<std::chrono::milliseconds>(clock_.now()).time_since_epoch().count();
}

void PushTracker::received(const Properties& userInfo, std::string_view appState) {
  const SanitizedPush push = sanitized(userInfo);
  const std::string_view state = cutIdentifier(appState);
  const std::int64_t now = nowMs();
  bool isRepeat = false;
  {
    base::MutexLock lock(cacheLock_);
    isRepeat = find(push.pushId) != nullptr;
    if (!isRepeat) receivedCache_.push_back({push.pushId, now});
    if (receivedCache_.size() > kMostRemembered) receivedCache_.pop_front();
  }
  if (isRepeat) {
    return log_.debug({"[Zarn Push] Dedup: skipping duplicate push_received for ", push.pushId,
                       " (app_state=", state, ")"});
  }
  PushEvent event{.type = push.isSilent ? EventType::pushSilent : EventType::pushReceived,
                  .properties = properties(push)};
  event.properties.set("app_state", state);
  event.properties.set("received_at_ms", now);
  // Of a message that must not be told of, its opening must not tell either when it came.
  if (!handler_(event)) forget(push.pushId);
}

void PushTracker::forget(std::string_view pushId) {
  base::MutexLock lock(cacheLock_);
  receivedCache_.erase(
      std::remove_if(receivedCache_.begin(), receivedCache_.end(),
                     [&](const Receipt& receipt) { return receipt.pushId == pushId; }),
      receivedCache_.end());
}

void PushTracker::responded(const Properties& userInfo,
                            const platform::NotificationResponse& response) {
  const std::string& action = response.actionIdentifier;
  if (action == platform::kDefaultAction) return opened(userInfo, action);
  if (action == platform::kDismissAction) return dismissed(userInfo);
  told(userInfo, action,
       response.isTextInput ? Interaction::kTextReply : Interaction::kCustomAction);
}

void PushTracker::opened(const Properties& userInfo, std::string_view actionIdentifier) {
  told(userInfo, actionIdentifier, Interaction::kOpen);
}

void PushTracker::dismissed(const Properties& userInfo) {
  told(userInfo, platform::kDismissAction, Interaction::kDismiss);
}

void PushTracker::acted(const Properties& userInfo, std::string_view actionIdentifier) {
  told(userInfo, actionIdentifier, Interaction::kCustomAction);
}

void PushTracker::told(const Properties& userInfo, std::string_view actionIdentifier,
                       const Interaction& interaction) {
  SanitizedPush push = sanitized(userInfo);
  PushEvent event{.type = interaction.type, .properties = properties(push)};
  event.properties.set("action_identifier", cutIdentifier(actionIdentifier));
  std::optional<std::int64_t> receivedAtMs;
  {
    base::MutexLock lock(cacheLock_);
    if (const Receipt* receipt = find(push.pushId)) receivedAtMs = receipt->receivedAtMs;
  }
  if (receivedAtMs) event.properties.set("time_to_open_ms", nowMs() - *receivedAtMs);
  event.properties.set("interaction_type",
                       base::ValueAccess::opaque(std::string(interaction.word)));
  if (interaction.type == EventType::pushOpen) {
    event.deepLink = std::move(push.deepLinkUrl);
    event.sendId = std::move(push.sendId);
  }
  handler_(event);
}

}  // namespace zarn::push
