#include "links/deferred_clipboard_matcher.h"

#include <utility>

#include "links/clipboard_token.h"
#include "platform/clipboard.h"
#include "platform/clock.h"
#include "platform/defaults.h"

namespace zarn::links {
namespace {

constexpr const char* kGatesClosed =
    "[Zarn DeepLink] clipboard read skipped — consent gates not all open";
constexpr const char* kNoUrl =
    "[Zarn DeepLink] clipboard detect: no probableWebURL → no read, no banner";
constexpr const char* kNoToken = "[Zarn DeepLink] clipboard value not a zn: token → discarded";
constexpr const char* kExpired = "[Zarn DeepLink] clipboard token past best-effort TTL → discarded";

}  // namespace

DeferredClipboardMatcher::DeferredClipboardMatcher(
    base::Executor& pool, platform::Clipboard& clipboard, platform::Defaults& defaults,
    const platform::Clock& clock, std::function<bool()> isOptedOut, platform::Log log)
    : clipboard_(clipboard),
      defaults_(defaults),
      clock_(clock),
      isOptedOut_(std::move(isOptedOut)),
      log_(log),
      queue_(pool, "io.zarn.links", base::LockRank::linksQueue) {}

void DeferredClipboardMatcher::check(const ClipboardGates& gates, Found found) {
  queue_.async(base::weakly(scope_, [this, gates, found = std::move(found)]() mutable {
    queue_.assertCurrent();
    found_ = std::move(found);
    begin(gates);
  }));
}

DeferredClipboardMatcher::Outcome DeferredClipboardMatcher::lastOutcome() const {
  base::MutexLock lock(lock_);
  return lastOutcome_;
}

void DeferredClipboardMatcher::begin(const ClipboardGates& gates) {
  // What can't be read of the setting counts as done: one look too few harms nobody.
  const auto isDone = defaults_.getBool(kReadDoneKey);
  if (isDone.value_or(defaults_.mayHold(kReadDoneKey))) return end(Outcome::alreadyDone);
  if (!gates.areOpen() || isOptedOut_()) return end(Outcome::notAttempted, kGatesClosed);
  isDetecting_ = true;
  const auto answered = [this](bool probableUrl) {
    queue_.assertCurrent();
    detected(probableUrl);
  };
  timeout_ = queue_.asyncAfter(base::seconds(kDetectionTimeout),
                               base::weakly(scope_, [answered] { answered(false); }));
  clipboard_.detectProbableWebUrl(queue_, base::weakly(scope_, answered));
}

void DeferredClipboardMatcher::detected(bool probableUrl) {
  if (!std::exchange(isDetecting_, false)) return;
  timeout_.cancel();
  if (isOptedOut_()) return end(Outcome::notAttempted, kGatesClosed);
  if (!probableUrl) return end(Outcome::noProbableWebURL, kNoUrl);
  // Before the reading, of which the user is told: whatever happens, there is no second one.
  defaults_.set(kReadDoneKey, true);
  defaults_.commit();
  clipboard_.readText(queue_, base::weakly(scope_, [this](const std::string& text) {
                        queue_.assertCurrent();
                        read(text);
                      }));
}

void DeferredClipboardMatcher::read(const std::string& text) {
  if (text.empty()) return end(Outcome::readNonZarnToken);
  const auto token = parseClipboardToken(text);
  if (!token) return end(Outcome::readNonZarnToken, kNoToken);
  if (token->isExpired(clock_.now())) return end(Outcome::readNonZarnToken, kExpired);
  end(Outcome::readZarnToken);
  found_(text);
}

void DeferredClipboardMatcher::end(Outcome outcome, const char* why) {
  {
    base::MutexLock lock(lock_);
    lastOutcome_ = outcome;
  }
  if (why != nullptr) log_.debug({why});
}

}  // namespace zarn::links
